#pragma once

#include <QByteArray>
#include <QString>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace kelmo {

/// Appends lines to files in the order in which they were handed over, on a thread of its own, which `close` or the
/// destructor stops after the last waiting line. Owned by the log. Callable from any thread.
class LogWriter {
public:
    LogWriter();
    ~LogWriter();
    LogWriter(const LogWriter&) = delete;
    LogWriter& operator=(const LogWriter&) = delete;

    /// Queues `line` for the end of the file at `path`, which is created with its folder when missing. Once the
    /// writer is closed the line is written before the call returns.
    void append(QString path, QByteArray line);

    /// Waits until everything appended so far has been written.
    void flush();

    /// Writes what waits and ends the thread. Safe to call more than once.
    void close();

private:
    struct Entry {
        QString path;
        QByteArray line;
    };

    void run();

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_idle;
    std::deque<Entry> m_waiting;
    bool m_writing = false;
    bool m_closing = false;
    std::thread m_thread;
};

} // namespace kelmo
