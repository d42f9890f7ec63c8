#include "media/stack/player/SoundPump.h"

#include "media/stack/player/AudioOutput.h"
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
    for (int64_t i = 0; i < frames * channels; ++i) {
        const int64_t frame = done + i / channels;
        sound[size_t(i)] *= float(frame) / fadeFrames;
    }
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
        m_mixer = std::make_unique<AudioMixer>(composition.audio, order.item->ramps);
        for (const Error& silence : m_mixer->silences())
            Log::line(u"sound", QStringLiteral("a track is silent: ") % logText(silence));
    } else {
        m_mixer->replace(composition.audio, order.item->ramps);
    }
    m_item = order.item;
}

/// The same epoch's next item, if there is one by now.
std::optional<SoundPump::Order> SoundPump::takeNextRevision(const Order& order)
{
    const std::lock_guard lock(m_mutex);
    if (!m_next || !m_next->goesOn || m_next->epoch != order.epoch || m_next->rate != order.rate)
        return std::nullopt;
    return std::exchange(m_next, std::nullopt);
}

/// A new course, from an order's start or from where the ring's sound ends.
SoundPump::Course SoundPump::begun(const Order& order)
{
    prepareMixer(order);
    Course course;
    course.first = order.goesOn ? m_ring->takeUp(order.epoch, order.carried.revision).end + order.carried.shift
                                : AudioMixer::sampleAt(order.start);
    course.at = course.first;
    course.end = AudioMixer::sampleAt(order.item->composition->duration);
    // At the playing rate what goes on fits to the sample.
    course.fades = course.first > 0 && !(order.goesOn && order.rate == 1);
    course.stretcher = std::make_unique<SoundStretcher>(order.rate);
    return course;
}

/// Goes over to the next revision: as if nothing had been, where what is mixed already holds for it too.
void SoundPump::turnTo(Order next, Order& order, Course& course)
{
    prepareMixer(next);
    const SoundRing::Held held = m_ring->takeUp(next.epoch, next.carried.revision);
    const int64_t moved = next.carried.shift - order.carried.shift;
    const bool holds = course.at < course.end && course.at - order.carried.shift <= held.valid;
    order = std::move(next);
    if (!holds) {
        course = begun(order);
        return;
    }
    course.first += moved;
    course.at += moved;
    course.end = AudioMixer::sampleAt(order.item->composition->duration);
}

/// Mixes the next chunk and returns what of it is ready to be heard.
SoundRing::Block SoundPump::mixOn(const Order& order, Course& course)
{
    std::vector<float> mixed(size_t(std::clamp<int64_t>(course.end - course.at, 0, chunk)) * channels);
    const auto count = int(mixed.size() / channels);
    // What cannot be read is silence: a damaged stretch must not stop the rest.
    if (m_mixer && !m_mixer->mix(course.at, count, mixed.data()))
        std::fill(mixed.begin(), mixed.end(), 0.0f);
    if (course.fades && course.at - course.first < fadeFrames)
        fadeIn(mixed, course.at - course.first);
    course.stretcher->put(mixed.data(), count);
    course.at += count;
    if (course.at >= course.end)
        course.stretcher->finish();
    const double from = double(course.first - order.carried.shift) + course.stretcher->consumed();
    return {course.stretcher->take(), from, order.rate};
}

void SoundPump::serve(Order order)
{
    if (!order.item) {
        m_item.reset();
        m_mixer.reset();
        return;
    }
    Course course = begun(order);
    do {
        if (!m_ring->push(order.epoch, order.carried.revision, mixOn(order, course)))
            return;
        if (std::optional<Order> next = takeNextRevision(order))
            turnTo(*std::move(next), order, course);
    } while (course.at < course.end && !isStale(order.epoch));
    m_ring->finish(order.epoch, order.carried.revision);
}

} // namespace kelmo
