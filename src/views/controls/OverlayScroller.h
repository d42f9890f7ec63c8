#pragma once

#include <QScrollBar>
#include <QTimer>
#include <QVariantAnimation>
#include <QWidget>

namespace kelmo {

/// The thumb that lies over a scrolled text, shows while it scrolls or the pointer is near, and then hides. A face for
/// a hidden scroll bar, which keeps the values. Owned by the view that it lies over; main thread.
class OverlayScroller : public QWidget {
    Q_OBJECT

public:
    OverlayScroller(QScrollBar& bar, QWidget* parent);

    static constexpr int breadth = 14; ///< Of the strip that the pointer can take hold of.

Q_SIGNALS:
    void grabbed(); ///< The user drags the thumb, which ends any other scrolling.

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void flash();
    void fadeTo(double opacity);
    [[nodiscard]] QRectF thumb() const;
    [[nodiscard]] bool isNeeded() const { return m_bar.maximum() > m_bar.minimum(); }

    QScrollBar& m_bar;
    QTimer m_hiding;
    QVariantAnimation m_fade;
    double m_opacity = 0;
    bool m_held = false;
    double m_heldAt = 0; ///< Below the thumb's top.
};

} // namespace kelmo
