#pragma once

#include <QRectF>
#include <QWidget>

#include <array>
#include <functional>

namespace kelmo {

/// Lies transparently over the timeline bar, delivers what the left button does there, and shows the resize cursor over
/// the handles. Points are its own, origin top left. Main thread.
class TrimMouse : public QWidget {
    Q_OBJECT

public:
    using Callback = std::function<void(QPointF point)>;
    using Handles = std::array<QRectF, 2>;

    explicit TrimMouse(QWidget* parent);

    Callback down;
    Callback drag;
    Callback up;
    std::function<void()> hover; ///< Another handle, or none, is under the pointer.

    void setHandles(const Handles& handles);
    [[nodiscard]] const Handles& handles() const { return m_handles; }
    [[nodiscard]] Qt::KeyboardModifiers held() const { return m_held; } ///< Keys down at the last event.
    [[nodiscard]] std::optional<size_t> hovered() const { return m_hovered; } ///< Index of the handle pointed at.

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void pointAt(std::optional<QPointF> point);

    Handles m_handles;
    std::optional<size_t> m_hovered;
    std::optional<QPointF> m_pointer; ///< None while it is elsewhere.
    Qt::KeyboardModifiers m_held;
    bool m_pressed = false;
};

} // namespace kelmo
