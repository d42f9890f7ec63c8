#include "telemetry/Log.h"

#include "platform/Home.h"
#include "telemetry/LogWriter.h"

#include <QByteArray>
#include <QDateTime>

#include <algorithm>
#include <atomic>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <mutex>

#include <poll.h>
#include <unistd.h>

namespace kelmo {

namespace {

// Never destroyed, so that whatever still logs while the process winds down finds it; only its thread ends.
LogWriter& writer()
{
    static LogWriter* const instance = [] {
        auto* created = new LogWriter;
        std::atexit([] { writer().close(); });
        return created;
    }();
    return *instance;
}

// The parent process may have piped the output and stopped reading. The log waits for such a reader once, for
// a moment, and then leaves out the echo until there is room again: the editor must never hang on it.
bool outputHasRoom()
{
    static std::atomic<bool> stalled = false;
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    stalled = ::poll(&output, 1, stalled ? 0 : 50) <= 0;
    return !stalled;
}

// Room is only ever sure for so many bytes, and only while no other process takes it.
void echo(const QByteArray& line)
{
    static std::mutex one;
    // A reader that went away must not end the program; writing then simply fails.
    static const auto ignored = std::signal(SIGPIPE, SIG_IGN);
    Q_UNUSED(ignored);
    const std::lock_guard lock(one);
    const char* data = line.constData();
    auto left = static_cast<size_t>(line.size());
    while (left > 0 && outputHasRoom()) {
        const ssize_t written = ::write(STDOUT_FILENO, data, std::min<size_t>(left, PIPE_BUF));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return;
        data += written;
        left -= static_cast<size_t>(written);
    }
}

bool isVisible(char32_t character)
{
    const QChar::Category category = QChar::category(character);
    return QChar::isPrint(character) && category != QChar::Separator_Line && category != QChar::Separator_Paragraph;
}

} // namespace

void Log::line(QStringView tag, QStringView message)
{
    const QString time = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
    const QString text = time + QLatin1String(" [") + tag + QLatin1String("] ") + message + QLatin1Char('\n');
    const QByteArray line = text.toUtf8();
    echo(line);
    writer().append(Home::file(QStringLiteral("Library/Logs/KelmoEditor.log")), line);
}

void Log::line(QStringView tag, const QString& message) { line(tag, QStringView(message)); }

QString Log::printable(QStringView text, qsizetype maxLength)
{
    QString shown;
    for (const char32_t character : text.first(std::min(text.size(), maxLength)).toUcs4())
        shown += isVisible(character) ? QString::fromUcs4(&character, 1) : QStringLiteral("?");
    return text.size() > maxLength ? QString(shown + QChar(0x2026)) : shown;
}

void Log::flush() { writer().flush(); }

} // namespace kelmo
