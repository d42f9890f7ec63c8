#include "media/stack/player/SoundDevice.h"

#include "media/stack/player/TimerOutput.h"
#include "platform/MonotonicClock.h"
#include "telemetry/Log.h"

#include <algorithm>
#include <atomic>

namespace kelmo {

namespace {

constexpr auto watchPeriod = std::chrono::milliseconds(50);
constexpr auto restPeriod = std::chrono::milliseconds(500);
constexpr auto quitPatience = std::chrono::seconds(2);
constexpr double restAfterMs = 300; ///< What the device holds has been heard by then.
constexpr double stuckAfterMs = 3000; ///< A running device that pulls nothing for so long hangs.
/// A tenth of a second that passed is proof. A server that has mixed two seconds ahead takes so long to begin.
constexpr int64_t trialFrames = 4800;
constexpr int trialRounds = 500;
constexpr auto trialPeriod = std::chrono::milliseconds(5);
constexpr double firstRetryMs = 1000;
constexpr double longestRetryMs = 30'000;

} // namespace

/// An output and its account with the ring.
struct SoundDevice::Line {
    std::unique_ptr<AudioOutput> output;
    std::shared_ptr<SoundRing::Feed> feed = std::make_shared<SoundRing::Feed>();
    bool isDevice = false;
    bool running = false;
    int64_t givenBefore = 0;
    double movedAtMs = 0; ///< When it was last seen to pull something.
};

struct SoundDevice::State {
    std::shared_ptr<SoundRing> ring;
    Opener opener;
    std::mutex mutex;
    std::condition_variable changed;
    std::shared_ptr<Line> current;
    bool muted = false;
    bool running = false;
    double stoppedAtMs = 0;
    bool ending = false;
    std::atomic<bool> quitting = false; ///< The same, to be looked at without the lock.
    bool ended = false;
    double retryAtMs = 0;
    double retryMs = firstRetryMs;
};

SoundDevice::SoundDevice(std::shared_ptr<SoundRing> ring, Opener opener)
    : m_state(std::make_shared<State>())
{
    m_state->ring = std::move(ring);
    m_state->opener = std::move(opener);
    m_thread = std::thread([state = m_state] { supervise(state); });
}

SoundDevice::~SoundDevice()
{
    std::unique_lock lock(m_state->mutex);
    m_state->ending = true;
    m_state->quitting = true;
    m_state->changed.notify_all();
    const bool ended = m_state->changed.wait_for(lock, quitPatience, [this] { return m_state->ended; });
    lock.unlock();
    if (ended)
        m_thread.join();
    else
        m_thread.detach(); // It owns all that it touches.
}

void SoundDevice::setMuted(bool muted)
{
    const std::lock_guard lock(m_state->mutex);
    m_state->muted = muted;
    m_state->changed.notify_all();
}

void SoundDevice::setRunning(bool running)
{
    m_state->ring->setRunning(running);
    const std::lock_guard lock(m_state->mutex);
    if (m_state->running && !running)
        m_state->stoppedAtMs = MonotonicClock::nowMs();
    m_state->running = running;
    m_state->changed.notify_all();
}

MediaTime SoundDevice::position() const
{
    std::shared_ptr<Line> line;
    {
        const std::lock_guard lock(m_state->mutex);
        line = m_state->current;
    }
    static const SoundRing::Feed none;
    return line ? m_state->ring->position(*line->feed, line->output->position().frames)
                : m_state->ring->position(none, 0);
}

bool SoundDevice::hasEnded() const
{
    std::shared_ptr<Line> line;
    {
        const std::lock_guard lock(m_state->mutex);
        line = m_state->current;
    }
    return line && m_state->ring->hasEnded(*line->feed, line->output->position().frames);
}

bool SoundDevice::isAudible() const
{
    const std::lock_guard lock(m_state->mutex);
    return m_state->current && m_state->current->isDevice && !m_state->current->output->isLost();
}

void SoundDevice::supervise(const std::shared_ptr<State>& state)
{
    Lock lock(state->mutex);
    while (!state->ending) {
        chooseLine(*state, lock);
        runLine(*state, lock);
        const bool busy = state->running || state->current->running;
        if (!state->ending)
            state->changed.wait_for(lock, busy ? watchPeriod : restPeriod);
    }
    state->ring->activate(nullptr);
    const std::shared_ptr<Line> last = std::exchange(state->current, nullptr);
    lock.unlock();
    if (last) // There is none when the end came before the beginning.
        last->output.reset(); // May hang with its server, which the destructor does not wait for.
    lock.lock();
    state->ended = true;
    state->changed.notify_all();
}

/// Falls back to the timer when it must, and goes back to a device when it may.
void SoundDevice::chooseLine(State& state, Lock& lock)
{
    const double now = MonotonicClock::nowMs();
    if (!state.current) {
        use(state, timerLine(state), lock);
    } else if (state.current->isDevice) {
        const bool lost = state.current->output->isLost() || isStuck(state);
        if (!lost && !state.muted)
            return;
        if (lost)
            Log::line(u"sound", QStringLiteral("the device has gone; playing on without sound until one is back"));
        state.retryAtMs = lost ? now + firstRetryMs : 0;
        use(state, timerLine(state), lock);
        return;
    }
    if (state.muted || now < state.retryAtMs || state.ending)
        return;
    lock.unlock();
    std::shared_ptr<Line> device = deviceLine(state);
    lock.lock();
    state.retryMs = device ? firstRetryMs : std::min(2 * state.retryMs, longestRetryMs);
    state.retryAtMs = MonotonicClock::nowMs() + state.retryMs;
    if (device && !state.muted)
        use(state, std::move(device), lock);
}

void SoundDevice::runLine(State& state, Lock& lock)
{
    const std::shared_ptr<Line> line = state.current;
    const double now = MonotonicClock::nowMs();
    const bool wanted = state.running || (line->running && now - state.stoppedAtMs < restAfterMs);
    if (wanted == line->running)
        return;
    line->running = wanted;
    line->movedAtMs = now;
    lock.unlock();
    if (wanted)
        line->output->start();
    else
        line->output->stop();
    lock.lock();
}

bool SoundDevice::isStuck(State& state)
{
    Line& line = *state.current;
    const double now = MonotonicClock::nowMs();
    const int64_t given = state.ring->givenTo(*line.feed);
    if (!line.running || given != line.givenBefore)
        line.movedAtMs = now;
    line.givenBefore = given;
    return now - line.movedAtMs > stuckAfterMs;
}

/// A device that opens and really pulls; null when there is none. It is tried with silence, because one that opens and
/// then hangs would stop the picture too.
std::shared_ptr<SoundDevice::Line> SoundDevice::deviceLine(State& state)
{
    auto line = std::make_shared<Line>();
    line->isDevice = true;
    line->output = state.opener();
    const auto pull
        = [ring = state.ring, feed = line->feed](float* out, int frames) { ring->pull(*feed, out, frames); };
    if (!line->output || !line->output->open(pull))
        return nullptr;
    line->output->start();
    for (int i = 0; i < trialRounds && !state.quitting; ++i) {
        std::this_thread::sleep_for(trialPeriod);
        if (state.ring->givenTo(*line->feed) > trialFrames && line->output->position().frames > 0) {
            line->running = true;
            return line;
        }
    }
    if (!state.quitting)
        Log::line(u"sound", QStringLiteral("a sound device opened but does not play; going on without it"));
    return nullptr;
}

std::shared_ptr<SoundDevice::Line> SoundDevice::timerLine(State& state)
{
    auto line = std::make_shared<Line>();
    line->output = std::make_unique<TimerOutput>();
    const auto pull
        = [ring = state.ring, feed = line->feed](float* out, int frames) { ring->pull(*feed, out, frames); };
    if (!line->output->open(pull))
        return nullptr;
    return line;
}

/// Makes `line` the one that plays, before the old one is released, which may take long.
void SoundDevice::use(State& state, std::shared_ptr<Line> line, Lock& lock)
{
    state.ring->activate(line->feed);
    const std::shared_ptr<Line> old = std::exchange(state.current, std::move(line));
    runLine(state, lock);
    lock.unlock();
    if (old)
        old->output.reset();
    lock.lock();
}

} // namespace kelmo
