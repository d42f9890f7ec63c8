#pragma once

#include <QObject>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <sys/types.h>

namespace kelmo {

/// Notes in the record when the main thread's event loop does not come round for longer than a limit: where it was
/// stuck, and for how long, kept up to date while it lasts so that the note is right if the process is killed. Time in
/// which the whole process stood still, suspended or in a debugger, does not count. Made and destroyed on the main
/// thread; owns a thread that asks the event loop for an answer several times in each limit. Destroying it ends
/// the thread, and a hang that lasts until then.
class HangWatchdog : public QObject {
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds defaultLimit{5000};

    /// `record` stays open, and stays the caller's, for as long as the watchdog lives.
    explicit HangWatchdog(int record, std::chrono::milliseconds limit = defaultLimit);
    ~HangWatchdog() override;

private:
    void run();
    [[nodiscard]] bool stopsWithin(std::chrono::milliseconds time);
    void ask();
    void noteHang(std::chrono::milliseconds duration);
    void updateDuration(std::chrono::milliseconds duration);

    const int m_record;
    const std::chrono::milliseconds m_limit;
    const pid_t m_mainThread;
    std::atomic<bool> m_answered = true;

    // Used by the watching thread alone.
    off_t m_durationPlace = 0; ///< In the record, of the hang under way; 0 while there is none.
    int m_hangs = 0;

    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_stopping = false;
    std::thread m_thread;
};

} // namespace kelmo
