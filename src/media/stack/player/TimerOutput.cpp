#include "media/stack/player/TimerOutput.h"

#include "platform/MonotonicClock.h"

#include <algorithm>
#include <vector>

namespace kelmo {

namespace {

constexpr int64_t aheadFrames = 960;
constexpr int64_t maxFrames = 4800;
constexpr auto period = std::chrono::milliseconds(8);

} // namespace

TimerOutput::~TimerOutput()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

Result<void> TimerOutput::open(Pull pull)
{
    m_pull = std::move(pull);
    m_thread = std::thread([this] { run(); });
    return {};
}

void TimerOutput::start()
{
    const std::lock_guard lock(m_mutex);
    if (m_running)
        return;
    m_running = true;
    m_startedMs = MonotonicClock::nowMs();
    m_changed.notify_all();
}

void TimerOutput::stop()
{
    const std::lock_guard lock(m_mutex);
    if (m_running)
        m_before = std::min(due(MonotonicClock::nowMs()), m_pulled);
    m_running = false;
}

int64_t TimerOutput::due(double nowMs) const { return m_before + int64_t((nowMs - m_startedMs) * rate / 1000); }

AudioOutput::Position TimerOutput::position() const
{
    const std::lock_guard lock(m_mutex);
    const double now = MonotonicClock::nowMs();
    return {m_running ? std::min(due(now), m_pulled) : m_before, now};
}

void TimerOutput::run()
{
    std::vector<float> dropped(size_t(maxFrames) * channels);
    std::unique_lock lock(m_mutex);
    while (!m_ending) {
        if (!m_running) {
            m_changed.wait(lock);
            continue;
        }
        const int64_t missing = due(MonotonicClock::nowMs()) + aheadFrames - m_pulled;
        if (missing > 0) {
            const auto frames = int(std::min(missing, maxFrames));
            lock.unlock();
            m_pull(dropped.data(), frames);
            lock.lock();
            m_pulled += frames;
        }
        if (missing < maxFrames)
            m_changed.wait_for(lock, period);
    }
}

} // namespace kelmo
