#include "views/controls/OverlayScroller.h"

#include "views/style/Theme.h"

#include <QMouseEvent>
#include <QPainter>

namespace kelmo {

namespace {

constexpr int lingersMs = 1200;
constexpr double minThumb = 28;
constexpr double margin = 4; ///< Above and below the track, and right of the thumb.
constexpr double slim = 5;
constexpr double wide = 7;

} // namespace

OverlayScroller::OverlayScroller(QScrollBar& bar, QWidget* parent)
    : QWidget(parent)
    , m_bar(bar)
{
    setCursor(Qt::ArrowCursor);
    m_hiding.setSingleShot(true);
    m_hiding.setInterval(lingersMs);
    connect(&m_hiding, &QTimer::timeout, this, [this] { fadeTo(0); });
    connect(&m_fade, &QVariantAnimation::valueChanged, this, [this](const QVariant& opacity) {
        m_opacity = opacity.toDouble();
        update();
    });
    connect(&bar, &QScrollBar::valueChanged, this, &OverlayScroller::flash);
    connect(&bar, &QScrollBar::rangeChanged, this, qOverload<>(&QWidget::update));
}

void OverlayScroller::flash()
{
    fadeTo(1);
    if (!m_held && !underMouse())
        m_hiding.start();
    update();
}

void OverlayScroller::fadeTo(double opacity)
{
    m_hiding.stop();
    if (m_fade.endValue() == opacity)
        return;
    m_fade.stop();
    m_fade.setStartValue(m_opacity);
    m_fade.setEndValue(opacity);
    m_fade.setDuration(Theme::motionMs(opacity > 0 ? Theme::fadeMs : 2 * Theme::fadeMs));
    m_fade.start();
}

QRectF OverlayScroller::thumb() const
{
    const double track = height() - 2 * margin;
    const double whole = m_bar.maximum() - m_bar.minimum() + m_bar.pageStep();
    const double length = std::clamp(track * m_bar.pageStep() / whole, std::min(minThumb, track), track);
    const double share = double(m_bar.value() - m_bar.minimum()) / std::max(1, m_bar.maximum() - m_bar.minimum());
    const double thickness = m_held || underMouse() ? wide : slim;
    return {width() - margin - thickness, margin + share * (track - length), thickness, length};
}

void OverlayScroller::paintEvent(QPaintEvent*)
{
    if (!isNeeded() || m_opacity <= 0)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setOpacity(m_opacity);
    painter.setBrush(Theme::white(m_held ? 0.5 : underMouse() ? 0.4 : 0.26));
    const QRectF shape = thumb();
    painter.drawRoundedRect(shape, shape.width() / 2, shape.width() / 2);
}

void OverlayScroller::enterEvent(QEnterEvent*)
{
    if (isNeeded())
        flash();
}

void OverlayScroller::leaveEvent(QEvent*)
{
    if (!m_held)
        m_hiding.start();
    update();
}

void OverlayScroller::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !isNeeded()) {
        event->ignore();
        return;
    }
    const QRectF shape = thumb();
    const double y = event->position().y();
    const bool onThumb = y >= shape.top() && y < shape.bottom();
    m_held = true;
    // Beside the thumb, it comes to the pointer.
    m_heldAt = onThumb ? y - shape.top() : shape.height() / 2;
    Q_EMIT grabbed();
    mouseMoveEvent(event);
    flash();
}

void OverlayScroller::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_held)
        return;
    const double room = height() - 2 * margin - thumb().height();
    const double share = (event->position().y() - m_heldAt - margin) / std::max(1.0, room);
    m_bar.setValue(m_bar.minimum() + qRound(share * (m_bar.maximum() - m_bar.minimum())));
}

void OverlayScroller::mouseReleaseEvent(QMouseEvent*)
{
    m_held = false;
    flash();
}

} // namespace kelmo
