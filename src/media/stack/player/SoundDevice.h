#pragma once

#include "media/stack/player/AudioOutput.h"
#include "media/stack/player/SoundRing.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace kelmo {

/// Keeps sound flowing out of the ring whatever happens to the machine's devices: plays on one where there is one,
/// and by the monotonic clock where there is none, where it has gone away or hangs, and while muted; a device that
/// comes back is taken up again. Owned by the Player; its functions never wait for a device. Has a thread of its own,
/// which is left behind only when the sound server holds it.
class SoundDevice {
public:
    using Opener = std::function<std::unique_ptr<AudioOutput>()>;

    /// `opener` makes the output to play on, not opened yet.
    SoundDevice(std::shared_ptr<SoundRing> ring, Opener opener);
    ~SoundDevice();
    SoundDevice(const SoundDevice&) = delete;
    SoundDevice& operator=(const SoundDevice&) = delete;

    void setMuted(bool muted);
    void setRunning(bool running); ///< While not, the device comes to rest after a moment.

    [[nodiscard]] MediaTime position() const; ///< Of the edited clock, as heard now.
    [[nodiscard]] bool hasEnded() const; ///< Everything in the ring has been heard.
    [[nodiscard]] bool isAudible() const; ///< A real device plays.

private:
    struct Line;
    struct State;
    using Lock = std::unique_lock<std::mutex>;
    static void supervise(const std::shared_ptr<State>& state);
    static void chooseLine(State& state, Lock& lock);
    static void runLine(State& state, Lock& lock);
    [[nodiscard]] static bool isStuck(State& state);
    [[nodiscard]] static std::shared_ptr<Line> deviceLine(State& state);
    [[nodiscard]] static std::shared_ptr<Line> timerLine(State& state);
    static void use(State& state, std::shared_ptr<Line> line, Lock& lock);

    std::shared_ptr<State> m_state;
    std::thread m_thread;
};

} // namespace kelmo
