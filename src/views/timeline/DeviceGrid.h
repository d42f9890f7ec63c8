#pragma once

#include <QPainter>
#include <QPixmap>

#include <cmath>

namespace kelmo {

/// The pixels that a painter really paints on, which at fractional scales do not lie on whole logical coordinates. For
/// edges that must be sharp. Made again for every painting, before the painter is moved.
class DeviceGrid {
public:
    explicit DeviceGrid(const QPainter& painter)
        : m_toDevice(painter.deviceTransform())
    {
    }

    [[nodiscard]] double ratio() const { return m_toDevice.m11(); }

    // The nearest pixel edge, in logical coordinates.
    [[nodiscard]] double x(double logical) const { return (deviceX(logical) - m_toDevice.dx()) / m_toDevice.m11(); }
    [[nodiscard]] double y(double logical) const { return (deviceY(logical) - m_toDevice.dy()) / m_toDevice.m22(); }

    [[nodiscard]] QRectF aligned(const QRectF& logical) const
    {
        return {QPointF(x(logical.left()), y(logical.top())), QPointF(x(logical.right()), y(logical.bottom()))};
    }

    /// Pixels that a rectangle covers when its edges move to the nearest ones.
    [[nodiscard]] QSize pixels(const QRectF& logical) const
    {
        return {int(deviceX(logical.right()) - deviceX(logical.left())),
            int(deviceY(logical.bottom()) - deviceY(logical.top()))};
    }

    /// Draws a pixmap pixel by pixel, whatever ratio it claims, its top left at the pixel edge nearest to `corner`.
    void draw(QPainter& painter, QPointF corner, const QPixmap& pixmap) const
    {
        painter.save();
        painter.translate(x(corner.x()), y(corner.y()));
        painter.scale(1 / m_toDevice.m11(), 1 / m_toDevice.m22());
        painter.drawPixmap(QPointF(0, 0), pixmap);
        painter.restore();
    }

private:
    [[nodiscard]] double deviceX(double x) const { return std::round(x * m_toDevice.m11() + m_toDevice.dx()); }
    [[nodiscard]] double deviceY(double y) const { return std::round(y * m_toDevice.m22() + m_toDevice.dy()); }

    QTransform m_toDevice;
};

} // namespace kelmo
