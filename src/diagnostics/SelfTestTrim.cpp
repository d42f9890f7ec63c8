#include "diagnostics/SelfTest.h"
#include "telemetry/Log.h"
#include "views/timeline/TimelineBar.h"

#include <QCoreApplication>
#include <QCoroTimer>
#include <QMouseEvent>
#include <QWindow>

namespace kelmo {

namespace {

using namespace std::chrono_literals;

constexpr double handleWidth = 16;
constexpr int dragSteps = 12;
constexpr auto settleTime = 400ms;
constexpr size_t trimmedWord = 60;
constexpr double intoWordMs = 20;

void log(const QString& line) { Log::line(u"selftest", line); }

QString whole(double ms) { return QString::number(ms, 'f', 0); }

void send(QWidget& window, QEvent::Type type, QPointF at)
{
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, at, window.mapToGlobal(at), button, held, Qt::NoModifier);
    QCoreApplication::sendEvent(window.windowHandle(), &event);
}

} // namespace

/// Half-way it holds still, so that a person can look.
QCoro::Task<void> SelfTest::drag(double fromFraction, double toFraction, double holdSeconds)
{
    const QRectF bar = TimelineBar::frameInWindow();
    const auto point = [bar](double fraction) {
        return QPointF(bar.left() + handleWidth + (bar.width() - 2 * handleWidth) * fraction, bar.center().y());
    };
    const QPointF grab = point(fromFraction);
    const QPointF drop = point(toFraction);
    send(m_window, QEvent::MouseButtonPress, grab);
    for (int step = 1; step <= dragSteps; ++step) {
        co_await QCoro::sleepFor(16ms);
        send(m_window, QEvent::MouseMove, grab + (drop - grab) * step / dragSteps);
        if (step == dragSteps / 2 && holdSeconds > 0)
            co_await QCoro::sleepFor(std::chrono::milliseconds(qint64(holdSeconds * 1000)));
    }
    send(m_window, QEvent::MouseButtonRelease, drop);
    co_await QCoro::sleepFor(settleTime);
}

void SelfTest::state(const QString& label) const
{
    const Cuts& cuts = m_editor.cuts();
    const std::vector<Word>& words = m_editor.words();
    const double duration = m_editor.sourceDurationMs();
    const bool snapped = EditOps::trimInWord(cuts.trimIn, words, duration)
        && EditOps::trimOutWord(std::min(cuts.trimOut, duration), words, duration);
    const auto isKept = [&](const Word& word) { return !EditOps::isCut(word, cuts.effective); };
    const auto first = std::find_if(words.begin(), words.end(), isKept);
    const auto last = std::find_if(words.rbegin(), words.rend(), isKept);
    const QString kept = first == words.end()
        ? QStringLiteral("none \"")
        : QStringLiteral("%1–%2 \"").arg(first - words.begin()).arg(words.rend() - last - 1) % first->text
            % QStringLiteral(" … ") % last->text;
    log(label % QStringLiteral(": trim ") % whole(cuts.trimIn) % QStringLiteral("–") % whole(cuts.trimOut)
        % QStringLiteral(" snapped ") % (snapped ? QStringLiteral("true") : QStringLiteral("false"))
        % QStringLiteral(" kept words ") % kept % QStringLiteral("\" cuts=") % QString::number(cuts.spans.size())
        % QStringLiteral(" edited=") % whole(m_editor.timeline().durationMs) % QStringLiteral(" ms playhead=")
        % whole(m_editor.playhead().ms()) % QStringLiteral(" undo=") % m_editor.undo().undoText());
}

QCoro::Task<void> SelfTest::trim()
{
    QCoro::Task<bool> loading = takeIsLoaded();
    co_await loading;
    if (TimelineBar::frameInWindow().isEmpty()) {
        log(QStringLiteral("FAIL no timeline"));
        co_return;
    }
    const double hold = qEnvironmentVariable("KELMO_SELFTEST_HOLD").toDouble(); // Seconds.
    QCoro::Task<void> draggingStart = drag(0, 0.22, hold);
    co_await draggingStart;
    state(QStringLiteral("after dragging the start handle to 22%"));
    QCoro::Task<void> draggingEnd = drag(1, 0.8, hold);
    co_await draggingEnd;
    state(QStringLiteral("after dragging the end handle to 80%"));

    const std::optional<Span>& range = m_editor.selection();
    log(QStringLiteral("range picked: ")
        % (range ? QString(whole(range->start) % QStringLiteral("–") % whole(range->end)) : QStringLiteral("none")));
    press(Qt::Key_Delete);
    co_await QCoro::sleepFor(settleTime);
    state(QStringLiteral("after ⌫ on the range"));
    m_editor.undo().undo();
    co_await QCoro::sleepFor(settleTime);
    state(QStringLiteral("after undo"));
    m_editor.undo().undo();
    co_await QCoro::sleepFor(settleTime);
    state(QStringLiteral("after 2nd undo (end trim gone)"));

    if (!m_editor.words().empty()) {
        const Word& word = m_editor.words()[std::min(trimmedWord, m_editor.words().size() - 1)];
        m_editor.previewSource(word.startMs + intoWordMs);
    }
    key(Qt::ALT | Qt::Key_BracketRight);
    co_await QCoro::sleepFor(settleTime);
    state(QStringLiteral("after ⌥] at word 60"));
    key(Qt::ALT | Qt::Key_Backslash);
    co_await QCoro::sleepFor(settleTime);
    state(QStringLiteral("after ⌥\\ (clear)"));
    m_editor.undo().undo();
    co_await QCoro::sleepFor(settleTime);
    state(QStringLiteral("after undo of clear"));
    log(QStringLiteral("trim done"));
}

} // namespace kelmo
