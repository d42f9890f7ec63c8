#include "media/stack/SoundPump.h"

#include "media/stack/AudioOutput.h"
#include "media/stack/SoundStretcher.h"
#include "telemetry/Log.h"

namespace kelmo {

namespace {

constexpr int channels = AudioOutput::channels;
constexpr int chunk = 1024;
constexpr int fadeFrames = AudioOutput::rate / 200;

/// Sound that starts in the middle of a wave would click.
void fadeIn(std::vector<float>& sound, int64_t done)
{
    const int64_t frames = std::min<int64_t>(fadeFrames - done, int64_t(sound.size()) / channels);
    for (int64_t i = 0; i < frames * channels; ++i)
        sound[size_t(i)] *= float(done + i / channels) / fadeFrames;
}

} // namespace

SoundPump::SoundPump(std::shared_ptr<SoundRing> ring)
    : m_ring(std::move(ring))
    , m_thread([this] { run(); })
{
}

SoundPump::~SoundPump()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
        m_epoch = -1;
        m_changed.notify_all();
    }
    m_ring->close();
    m_thread.join();
}

void SoundPump::begin(Order order)
{
    const std::lock_guard lock(m_mutex);
    m_epoch = order.epoch;
    m_next = std::move(order);
    m_changed.notify_all();
}

void SoundPump::run()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_ending || m_next; });
        if (m_ending)
            return;
        const Order order = *std::exchange(m_next, std::nullopt);
        lock.unlock();
        serve(order);
        lock.lock();
    }
}

void SoundPump::prepareMixer(const Order& order)
{
    if (m_item == order.item)
        return;
    const Composition& composition = *order.item->composition;
    if (!m_mixer) {
        Result<std::unique_ptr<AudioMixer>> opened = AudioMixer::open(composition.audio, order.item->ramps);
        m_mixer = opened ? std::move(*opened) : nullptr;
        if (!opened)
            Log::line(u"sound", QStringLiteral("playing without sound: ") % userText(opened.error()));
    } else if (Result<void> replaced = m_mixer->replace(composition.audio, order.item->ramps); !replaced) {
        m_mixer.reset();
    }
    m_item = order.item;
}

void SoundPump::serve(const Order& order)
{
    if (!order.item) {
        m_item.reset();
        m_mixer.reset();
        return;
    }
    prepareMixer(order);
    SoundStretcher stretcher(order.rate);
    const int64_t first = AudioMixer::sampleAt(order.start);
    const int64_t end = AudioMixer::sampleAt(order.item->composition->duration);
    std::vector<float> mixed;
    int64_t at = first;
    do {
        mixed.assign(size_t(std::clamp<int64_t>(end - at, 0, chunk)) * channels, 0);
        const auto count = int(mixed.size() / channels);
        // What cannot be read is silence: a damaged stretch must not stop the rest.
        if (m_mixer && !m_mixer->mix(at, count, mixed.data()))
            std::fill(mixed.begin(), mixed.end(), 0.0f);
        if (first > 0 && at - first < fadeFrames)
            fadeIn(mixed, at - first);
        stretcher.put(mixed.data(), count);
        at += count;
        if (at >= end)
            stretcher.finish();
        const double from = double(first) + stretcher.consumed();
        if (!m_ring->push(order.epoch, {stretcher.take(), from, order.rate}))
            return;
    } while (at < end && !isStale(order.epoch));
    m_ring->finish(order.epoch);
}

} // namespace kelmo
