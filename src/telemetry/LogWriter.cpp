#include "telemetry/LogWriter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace kelmo {

namespace {

void appendToFile(const QString& path, const QByteArray& line)
{
    const auto mode = QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered;
    QFile file(path);
    if (!file.open(mode)) {
        QDir().mkpath(QFileInfo(path).absolutePath());
        if (!file.open(mode))
            return;
    }
    file.write(line);
}

} // namespace

LogWriter::LogWriter()
    : m_thread([this] { run(); })
{
}

LogWriter::~LogWriter() { close(); }

void LogWriter::append(QString path, QByteArray line)
{
    std::unique_lock lock(m_mutex);
    if (m_closing) {
        m_idle.wait(lock, [this] { return m_waiting.empty() && !m_writing; });
        appendToFile(path, line);
        return;
    }
    m_waiting.push_back({std::move(path), std::move(line)});
    m_wake.notify_one();
}

void LogWriter::flush()
{
    std::unique_lock lock(m_mutex);
    m_idle.wait(lock, [this] { return m_waiting.empty() && !m_writing; });
}

void LogWriter::close()
{
    {
        const std::lock_guard lock(m_mutex);
        m_closing = true;
        m_wake.notify_one();
    }
    if (m_thread.joinable())
        m_thread.join();
}

void LogWriter::run()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_closing || !m_waiting.empty(); });
        if (m_waiting.empty())
            return;
        const Entry entry = std::move(m_waiting.front());
        m_waiting.pop_front();
        m_writing = true;
        lock.unlock();
        appendToFile(entry.path, entry.line);
        lock.lock();
        m_writing = false;
        if (m_waiting.empty())
            m_idle.notify_all();
    }
}

} // namespace kelmo
