#include "media/stack/TrackFrames.h"

namespace kelmo {

namespace {

/// So few samples more are decoded before a start elsewhere would have paid off.
constexpr int nearbySamples = 8;

} // namespace

TrackFrames::TrackFrames(std::shared_ptr<const Asset> asset, const Track& track, int threads)
    : m_asset(std::move(asset))
    , m_track(track)
    , m_threads(threads)
{
}

TrackFrames::~TrackFrames()
{
    cancel();
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
        m_changed.notify_all();
    }
    if (m_thread.joinable())
        m_thread.join();
}

void TrackFrames::cancel()
{
    const std::lock_guard lock(m_mutex);
    for (const std::unique_ptr<VideoDecoder>& decoder : m_decoders) {
        if (decoder)
            decoder->cancel();
    }
}

void TrackFrames::setWanted(const std::shared_ptr<const std::vector<bool>>& samples)
{
    std::unique_lock lock(m_mutex);
    m_wanted = samples;
    m_changed.wait(lock, [this] { return !m_busy; });
    for (const std::unique_ptr<VideoDecoder>& decoder : m_decoders) {
        if (decoder)
            decoder->setWanted(samples);
    }
}

Result<VideoDecoder*> TrackFrames::opened(size_t which)
{
    if (m_decoders[which])
        return m_decoders[which].get();
    Result<std::unique_ptr<VideoDecoder>> decoder = VideoDecoder::open(m_asset, m_track, m_threads);
    if (!decoder)
        return tl::unexpected(decoder.error());
    const std::lock_guard lock(m_mutex);
    m_decoders[which] = std::move(*decoder);
    m_decoders[which]->setWanted(m_wanted);
    return m_decoders[which].get();
}

void TrackFrames::chooseFor(int display)
{
    std::unique_lock lock(m_mutex);
    if (m_prepared == display) {
        m_changed.wait(lock, [this] { return !m_busy; });
        m_prepared.reset();
        m_playing = 1 - m_playing;
        return;
    }
    const VideoDecoder* playing = m_decoders[m_playing].get();
    if (m_busy || !playing)
        return;
    // A jump leaves the decoder that plays where it is: a player that pauses and goes on comes back there.
    const int cost = playing->costOf(display);
    const VideoDecoder* other = m_decoders[1 - m_playing].get();
    if (other ? other->costOf(display) <= cost && cost > nearbySamples : cost > nearbySamples) {
        m_prepared.reset();
        m_playing = 1 - m_playing;
    }
}

Result<VideoFrame> TrackFrames::frame(int display)
{
    chooseFor(display);
    Result<VideoDecoder*> decoder = opened(m_playing);
    if (!decoder)
        return tl::unexpected(decoder.error());
    return (*decoder)->frame(display);
}

void TrackFrames::prepare(int last, int display)
{
    const std::vector<SampleIndex::Display>& entries = m_track.index.displays();
    const int onwards = entries[size_t(display)].sample - entries[size_t(last)].sample;
    if (onwards >= 0 && onwards <= nearbySamples)
        return;
    const size_t other = 1 - m_playing;
    {
        const std::lock_guard lock(m_mutex);
        if (m_busy || m_prepared == display)
            return;
    }
    if (!opened(other))
        return;
    const std::lock_guard lock(m_mutex);
    m_prepared = display;
    m_busy = true;
    if (!m_thread.joinable())
        m_thread = std::thread([this] { runAhead(); });
    m_changed.notify_all();
}

void TrackFrames::runAhead()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_ending || m_busy; });
        if (m_ending)
            return;
        VideoDecoder* decoder = m_decoders[1 - m_playing].get();
        const int display = *m_prepared;
        lock.unlock();
        (void)decoder->frame(display); // Whoever asks for it next gets the error.
        lock.lock();
        m_busy = false;
        m_changed.notify_all();
    }
}

} // namespace kelmo
