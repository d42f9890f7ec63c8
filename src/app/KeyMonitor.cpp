#include "app/KeyMonitor.h"

#include "app/MainMenu.h"
#include "app/Responders.h"

#include <QApplication>
#include <QKeyEvent>
#include <QWindow>

namespace kelmo {

KeyMonitor::KeyMonitor(Editor& editor, const MainMenu& menu, QWidget* window)
    : m_editor(editor)
    , m_menu(menu)
    , m_window(window)
{
    qApp->installEventFilter(this);
}

bool KeyMonitor::timelineKey(int key, Qt::KeyboardModifiers modifiers, bool inMainWindow)
{
    const bool isHeldBack = modifiers & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    if (!m_editor.selection() || !inMainWindow || isHeldBack || Responders::editedField())
        return false;
    switch (key) {
    case Qt::Key_Backspace:
    case Qt::Key_Delete:
        m_editor.deleteSelection();
        return true;
    case Qt::Key_Escape:
        m_editor.setSelection(std::nullopt);
        return true;
    default:
        return false;
    }
}

/// The toolkit hands a key to the window first and then to the widget in it; synthetic ones may start at the widget.
/// The keys of an open menu come by way of the window too.
bool KeyMonitor::isInMainWindow(const QObject* receiver) const
{
    if (!m_window)
        return true;
    if (QApplication::activePopupWidget())
        return false;
    if (const auto* widget = qobject_cast<const QWidget*>(receiver))
        return widget->window() == m_window;
    return receiver == m_window->windowHandle();
}

bool KeyMonitor::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress && event->type() != QEvent::ShortcutOverride)
        return false;
    if (!watched->isWidgetType() && !watched->isWindowType())
        return false;
    auto* key = static_cast<QKeyEvent*>(event);
    if (event->type() == QEvent::KeyPress)
        return timelineKey(key->key(), key->modifiers(), isInMainWindow(watched));
    if (!m_menu.comesBeforeFields(QKeySequence(key->keyCombination())))
        return false;
    // Not claimed, so that it goes to the command.
    event->ignore();
    return true;
}

} // namespace kelmo
