#pragma once

#include "media/stack/player/AudioOutput.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace kelmo {

/// An ideal device without sound: pulls sound at exactly 48 kHz by the monotonic clock and drops it. Owns a thread,
/// which ends with the object.
class TimerOutput final : public AudioOutput {
public:
    TimerOutput() = default;
    ~TimerOutput() override;

    [[nodiscard]] Result<void> open(Pull pull) override;
    void start() override;
    void stop() override;
    [[nodiscard]] Position position() const override;
    [[nodiscard]] bool isLost() const override { return false; }

private:
    void run();
    [[nodiscard]] int64_t due(double nowMs) const;

    Pull m_pull;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_running = false;
    bool m_ending = false;
    double m_startedMs = 0;
    int64_t m_before = 0; ///< Frames of earlier starts.
    int64_t m_pulled = 0;
    std::thread m_thread;
};

} // namespace kelmo
