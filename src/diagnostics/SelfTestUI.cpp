#include "diagnostics/SelfTest.h"
#include "platform/Home.h"
#include "telemetry/Log.h"
#include "views/transcript/TranscriptView.h"

#include <QCoroTimer>
#include <QDir>
#include <QPixmap>

namespace kelmo {

namespace {

using namespace std::chrono_literals;

constexpr auto settleTime = 300ms;

void log(const QString& line) { Log::line(u"selftest", line); }

QString quoted(const QString& text) { return QLatin1Char('"') % text % QLatin1Char('"'); }

QString yesNo(bool value) { return value ? QStringLiteral("true") : QStringLiteral("false"); }

QString whole(double ms) { return QString::number(ms, 'f', 0); }

} // namespace

bool SelfTest::deleteText(TranscriptView& transcript, const QString& text)
{
    const qsizetype at = transcript.textView().page().text().indexOf(text);
    if (at < 0) {
        log(QStringLiteral("FAIL no text ") % quoted(text));
        return false;
    }
    transcript.textView().setFocus();
    transcript.textView().setSelectedRange({int(at), int(text.size())});
    press(Qt::Key_Delete);
    return true;
}

QString SelfTest::struck(TranscriptView& transcript)
{
    const TextPage& page = transcript.textView().page();
    QStringList words;
    for (const StyledRange& word : page.styles()) {
        if (word.style == WordStyle::Cut)
            words.append(page.text().mid(word.range.location, word.range.length));
    }
    return QLatin1Char('[') % words.join(QLatin1Char(' ')) % QLatin1Char(']');
}

QCoro::Task<void> SelfTest::ui()
{
    QCoro::Task<bool> loading = takeIsLoaded();
    co_await loading;
    TranscriptView* transcript = find();
    if (!transcript) {
        log(QStringLiteral("FAIL no text view"));
        co_return;
    }
    const QString working = QStringLiteral("this working?");
    if (!deleteText(*transcript, working))
        co_return;
    co_await QCoro::sleepFor(settleTime);
    log(QStringLiteral("after Delete on ") % quoted(working) % QStringLiteral(": struck=") % struck(*transcript)
        % QStringLiteral(" cuts=") % QString::number(m_editor.cuts().spans.size()) % QStringLiteral(" edited=")
        % whole(m_editor.timeline().durationMs));
    const QString noWay = QStringLiteral("No way");
    if (!deleteText(*transcript, noWay))
        co_return;
    co_await QCoro::sleepFor(settleTime);
    log(QStringLiteral("after Delete on ") % quoted(noWay) % QStringLiteral(": struck=") % struck(*transcript));

    key(Qt::CTRL | Qt::Key_Z);
    co_await QCoro::sleepFor(settleTime);
    log(QStringLiteral("after undo: struck=") % struck(*transcript) % QStringLiteral(" canUndo=")
        % yesNo(m_editor.undo().canUndo()) % QStringLiteral(" canRedo=") % yesNo(m_editor.undo().canRedo()));
    key(Qt::CTRL | Qt::Key_Z);
    co_await QCoro::sleepFor(settleTime);
    log(QStringLiteral("after 2nd undo: struck=") % struck(*transcript) % QStringLiteral(" cuts=")
        % QString::number(m_editor.cuts().spans.size()));
    key(Qt::CTRL | Qt::SHIFT | Qt::Key_Z);
    co_await QCoro::sleepFor(settleTime);
    log(QStringLiteral("after redo: struck=") % struck(*transcript));

    const QString file = Home::file(QStringLiteral("Library/Logs/KelmoEditor-selftest.png"));
    const bool saved = QDir().mkpath(QFileInfo(file).absolutePath()) && m_window.grab().save(file, "PNG");
    log(QStringLiteral("snapshot ") % (saved ? file : QStringLiteral("could not be written")));

    const qsizetype at = transcript->textView().page().text().indexOf(QStringLiteral("No"));
    transcript->textView().setSelectedRange({int(std::max<qsizetype>(at, 0)), 0});
    const std::optional<int> word = m_editor.playhead().word();
    log(QStringLiteral("caret on \"No\" → playhead ") % whole(m_editor.playhead().ms()) % QStringLiteral(" ms, word ")
        % (word ? QString::number(*word) : QStringLiteral("nil")));
}

} // namespace kelmo
