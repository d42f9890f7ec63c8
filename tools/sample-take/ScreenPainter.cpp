#include "tools/sample-take/ScreenPainter.h"

#include "tools/sample-take/SlideStyle.h"
#include "tools/sample-take/Slides.h"

#include <QPainterPath>

#include <cstring>

namespace kelmo {

ScreenPainter::ScreenPainter(QSize size)
    : m_size(size)
    , m_scale(std::min(size.width() / 1920.0, size.height() / 1080.0))
    , m_origin((size.width() - 1920 * m_scale) / 2, (size.height() - 1080 * m_scale) / 2)
    , m_picture(size, QImage::Format_RGB32)
{
}

const QImage& ScreenPainter::slide(Slide& kept, const SlideState& state)
{
    if (kept.state == state)
        return kept.image;
    if (kept.image.isNull())
        kept.image = QImage(m_size, QImage::Format_RGB32);
    kept.image.fill(style::Ink);
    QPainter painter(&kept.image);
    painter.translate(m_origin);
    painter.scale(m_scale, m_scale);
    paintSlide(painter, state);
    kept.state = state;
    return kept.image;
}

const QImage& ScreenPainter::paint(const ScreenState& state)
{
    const QImage& current = slide(m_current, state.slide);
    std::memcpy(m_picture.bits(), current.constBits(), static_cast<size_t>(current.sizeInBytes()));
    if (state.entered < kPhases) {
        QPainter painter(&m_picture);
        const double entered = static_cast<double>(state.entered) / kPhases;
        painter.setOpacity(1 - entered * entered * (3 - 2 * entered));
        painter.drawImage(0, 0, slide(m_leaving, state.before));
    }
    paintPointer(state.pointer);
    return m_picture;
}

void ScreenPainter::paintPointer(QPoint pointer)
{
    // An arrow with its tip at the origin.
    static const QPolygonF arrow({{0, 0}, {0, 30}, {7, 24}, {12, 35}, {17, 33}, {12, 22}, {21, 21}});
    QPainter painter(&m_picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(m_origin + QPointF(pointer) * m_scale);
    painter.scale(m_scale * 1.15, m_scale * 1.15);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 80));
    painter.drawPolygon(arrow.translated(2, 3));
    painter.setPen(QPen(Qt::white, 2.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::black);
    painter.drawPolygon(arrow);
}

} // namespace kelmo
