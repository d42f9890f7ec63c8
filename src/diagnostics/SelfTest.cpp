#include "diagnostics/SelfTest.h"

#include "views/transcript/TranscriptView.h"

#include <QAction>
#include <QApplication>
#include <QCoroTimer>
#include <QKeyEvent>

namespace kelmo {

namespace {

using namespace std::chrono_literals;

constexpr int loadPolls = 400;

} // namespace

SelfTest::SelfTest(Editor& editor, QWidget& window)
    : m_editor(editor)
    , m_window(window)
{
}

QCoro::Task<bool> SelfTest::takeIsLoaded()
{
    for (int poll = 0; poll < loadPolls && !m_editor.built(); ++poll)
        co_await QCoro::sleepFor(50ms);
    co_await QCoro::sleepFor(300ms);
    co_return m_editor.built() != nullptr;
}

TranscriptView* SelfTest::find() const { return m_window.findChild<TranscriptView*>(); }

QString SelfTest::keep() const
{
    QStringList ranges;
    for (const Span range : m_editor.cuts().keep(m_editor.sourceDurationMs()))
        ranges.append(QStringLiteral("[%1,%2]").arg(range.start, 0, 'f', 0).arg(range.end, 0, 'f', 0));
    return ranges.join(QLatin1Char(' '));
}

bool SelfTest::key(const QKeySequence& keys)
{
    for (QAction* action : m_window.actions()) {
        if (action->shortcut() != keys || !action->isEnabled())
            continue;
        action->trigger();
        return true;
    }
    return false;
}

void SelfTest::press(int key)
{
    QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
    QWidget* focused = m_window.focusWidget();
    QCoreApplication::sendEvent(focused ? focused : &m_window, &event);
}

} // namespace kelmo
