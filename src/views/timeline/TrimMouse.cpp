#include "views/timeline/TrimMouse.h"

#include <QMouseEvent>

namespace kelmo {

namespace {

/// How much wider than a handle the place is where the pointer takes hold of it.
constexpr double reach = 4;

} // namespace

TrimMouse::TrimMouse(QWidget* parent)
    : QWidget(parent)
{
    setMouseTracking(true);
}

void TrimMouse::setHandles(const Handles& handles)
{
    if (handles == m_handles)
        return;
    m_handles = handles;
    if (!m_pressed)
        pointAt(m_pointer);
}

void TrimMouse::pointAt(std::optional<QPointF> point)
{
    m_pointer = point;
    std::optional<size_t> found;
    for (size_t i = 0; point && i < m_handles.size(); ++i) {
        if (m_handles[i].adjusted(-reach, 0, reach, 0).contains(*point))
            found = i; // Where they meet it is the right one that a press takes.
    }
    if (found == m_hovered)
        return;
    m_hovered = found;
    if (found)
        setCursor(Qt::SizeHorCursor);
    else
        unsetCursor();
    if (hover)
        hover();
}

void TrimMouse::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    pointAt(event->position());
    m_held = event->modifiers();
    m_pressed = true;
    if (down)
        down(event->position());
}

void TrimMouse::mouseMoveEvent(QMouseEvent* event)
{
    m_pointer = event->position();
    m_held = event->modifiers();
    if (!m_pressed)
        pointAt(event->position());
    else if (drag)
        drag(event->position());
}

void TrimMouse::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !std::exchange(m_pressed, false))
        return;
    m_held = event->modifiers();
    if (up)
        up(event->position());
    pointAt(rect().contains(event->position().toPoint()) ? std::optional(event->position()) : std::nullopt);
}

void TrimMouse::leaveEvent(QEvent*)
{
    if (!m_pressed)
        pointAt(std::nullopt);
}

/// A window that is closed with the button down never hears of its release.
void TrimMouse::hideEvent(QHideEvent*)
{
    if (std::exchange(m_pressed, false) && up && m_pointer) {
        // Not now: what ends with the drag may be among the widgets that are being hidden.
        QMetaObject::invokeMethod(
            this, [this, at = *m_pointer] { up(at); }, Qt::QueuedConnection);
    }
    pointAt(std::nullopt);
}

} // namespace kelmo
