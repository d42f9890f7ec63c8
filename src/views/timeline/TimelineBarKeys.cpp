#include "views/timeline/TimelineBar.h"

#include <QAccessible>
#include <QKeyEvent>

namespace kelmo {

namespace {

constexpr double secondMs = 1000;

} // namespace

double TimelineBar::frameMs() const
{
    const double fps = m_editor.loaded() ? double(m_editor.loaded()->fps) : 0;
    return secondMs / (fps >= 1 ? fps : 30);
}

void TimelineBar::moveTo(double editedMs)
{
    const double target = std::clamp(editedMs, 0.0, std::max(0.0, lengthMs() - 1));
    m_editor.previewSource(m_editor.timeline().source(target));
    announce();
}

/// Tells assistive technology where the playhead has been put; not where it plays.
void TimelineBar::announce()
{
    QAccessibleValueChangeEvent event(this, positionMs());
    QAccessible::updateAccessibility(&event);
}

void TimelineBar::keyPressEvent(QKeyEvent* event)
{
    const Qt::KeyboardModifiers held = event->modifiers() & ~Qt::KeypadModifier;
    const bool bySecond = held == Qt::ShiftModifier;
    if (held != Qt::NoModifier && !bySecond) {
        QWidget::keyPressEvent(event);
        return;
    }
    const double step = bySecond ? secondMs : frameMs();
    switch (event->key()) {
    case Qt::Key_Left:
        moveTo(positionMs() - step);
        break;
    case Qt::Key_Right:
        moveTo(positionMs() + step);
        break;
    case Qt::Key_Home:
        moveTo(0);
        break;
    case Qt::Key_End:
        moveTo(lengthMs());
        break;
    default:
        QWidget::keyPressEvent(event);
    }
}

void TimelineBar::focusInEvent(QFocusEvent* event)
{
    QWidget::focusInEvent(event);
    m_showsFocus = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    update();
}

void TimelineBar::focusOutEvent(QFocusEvent* event)
{
    QWidget::focusOutEvent(event);
    m_showsFocus = false;
    update();
}

/// While something is dragged, Escape takes it back. The key also goes on to its next receiver.
bool TimelineBar::eventFilter(QObject* watched, QEvent* event)
{
    const bool isEscape = event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape;
    if (isEscape && trims())
        takeBack();
    else if (isEscape && m_mode == Mode::Select)
        endDrag();
    return QWidget::eventFilter(watched, event);
}

} // namespace kelmo
