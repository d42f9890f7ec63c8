#include "media/stack/decode/TrackFrames.h"

#include <algorithm>

namespace kelmo {

namespace {

/// So few samples more are decoded before a start elsewhere would have paid off.
constexpr int nearbySamples = 8;
/// How often a wait for the other decoder checks whether it is still wanted.
constexpr auto stopPeriod = std::chrono::milliseconds(2);

} // namespace

TrackFrames::TrackFrames(std::shared_ptr<const Asset> asset, const Track& track, int threads, size_t cacheBytes)
    : m_track(track)
    , m_choice(std::move(asset), track, threads)
    , m_cache(std::make_shared<FrameCache>(cacheBytes))
{
}

TrackFrames::~TrackFrames()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
        m_abandoned = true;
        m_changed.notify_all();
    }
    if (m_thread.joinable())
        m_thread.join();
}

void TrackFrames::setWanted(const std::shared_ptr<const std::vector<bool>>& samples, bool referencesOnly)
{
    Lock lock(m_mutex);
    abandonPreparation(lock);
    m_wanted = samples;
    m_referencesOnly = referencesOnly;
    for (const std::unique_ptr<VideoDecoder>& decoder : m_decoders) {
        if (decoder)
            decoder->setWanted(samples, referencesOnly);
    }
}

Result<VideoDecoder*> TrackFrames::opened(size_t which)
{
    if (m_decoders[which])
        return m_decoders[which].get();
    Result<std::unique_ptr<VideoDecoder>> decoder = m_choice.open();
    if (!decoder)
        return tl::unexpected(decoder.error());
    m_decoders[which] = std::move(*decoder);
    m_decoders[which]->setWanted(m_wanted, m_referencesOnly);
    m_decoders[which]->keepIn(m_cache);
    return m_decoders[which].get();
}

bool TrackFrames::isKnown(int display) const { return m_cache->has(ptsOf(display)); }

std::optional<int> TrackFrames::knownNear(int display, int first, int last) const
{
    for (int away = 0; display - away >= first || display + away <= last; ++away) {
        for (const int each : {display - away, display + away}) {
            if (each >= first && each <= last && isKnown(each))
                return each;
        }
    }
    return std::nullopt;
}

int TrackFrames::costOf(int display) const
{
    if (isKnown(display))
        return 0;
    if (m_decoders[m_playing])
        return m_decoders[m_playing]->costOf(display);
    const SampleIndex::PresentedFrame& entry = m_track.index.frames()[size_t(display)];
    return entry.sample - entry.key + 1;
}

/// Stops the other decoder within a packet, unless it is at rest.
void TrackFrames::abandonPreparation(Lock& lock)
{
    m_abandoned = true;
    m_changed.wait(lock, [this] { return !m_busy; });
    m_abandoned = false;
    m_prepared.reset();
}

/// Makes the decoder with the shorter way the one that plays. False when `stop` says so.
bool TrackFrames::chooseFor(int display, const Stop& stop)
{
    Lock lock(m_mutex);
    if (m_prepared == display) {
        while (m_busy) {
            lock.unlock(); // What is asked may look at this object.
            if (stop && stop())
                return false;
            lock.lock();
            m_changed.wait_for(lock, stopPeriod, [this] { return !m_busy; });
        }
        m_prepared.reset();
        m_playing = 1 - m_playing;
        return true;
    }
    const VideoDecoder* playing = m_decoders[m_playing].get();
    const int cost = playing ? playing->costOf(display) : 0;
    if (cost <= nearbySamples)
        return true;
    // A jump leaves the decoder that plays where it is: a player that pauses and goes on comes back there.
    abandonPreparation(lock);
    const VideoDecoder* other = m_decoders[1 - m_playing].get();
    if (!other || other->costOf(display) <= cost)
        m_playing = 1 - m_playing;
    renew(m_playing);
    return true;
}

/// Before a decoder starts elsewhere, a better one may take its place.
void TrackFrames::renew(size_t which)
{
    if (m_decoders[which] && m_choice.isOutdated(*m_decoders[which]))
        m_decoders[which].reset();
}

Result<VideoFrame> TrackFrames::frame(int display, Use use, const Stop& stop)
{
    if (use != Use::Run) {
        if (VideoFrame known = m_cache->find(ptsOf(display)))
            return known;
    }
    if (use == Use::Known || !chooseFor(display, stop))
        return failure(QStringLiteral("Player"), 1);
    Result<VideoDecoder*> decoder = opened(m_playing);
    if (!decoder)
        return tl::unexpected(decoder.error());
    return (*decoder)->frame(display, stop);
}

void TrackFrames::prepare(int display)
{
    const size_t other = 1 - m_playing;
    const VideoDecoder* playing = m_decoders[m_playing].get();
    Lock lock(m_mutex);
    if (m_busy || m_prepared == display || (playing && playing->costOf(display) <= nearbySamples))
        return;
    renew(other);
    if (!opened(other))
        return;
    m_prepared = display;
    m_busy = true;
    if (!m_thread.joinable())
        m_thread = std::thread([this] { runAhead(); });
    m_changed.notify_all();
}

void TrackFrames::runAhead()
{
    Lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_ending || m_busy; });
        if (m_ending)
            return;
        VideoDecoder* decoder = m_decoders[1 - m_playing].get();
        const int display = *m_prepared;
        lock.unlock();
        // The next request for it gets the error.
        (void)decoder->frame(display, [this] { return m_abandoned.load(); });
        lock.lock();
        m_busy = false;
        m_changed.notify_all();
    }
}

} // namespace kelmo
