#include "tools/sample-take/FacePainter.h"

#include <QPainterPath>

#include <cstring>

namespace kelmo {

namespace {

const QColor kSkin(0xee, 0xc1, 0x9f);
const QColor kSkinShade(0xdb, 0xa4, 0x80);
const QColor kHair(0x40, 0x2d, 0x27);
const QColor kSweater(0x2f, 0x77, 0x7c);
const QColor kSweaterShade(0x25, 0x60, 0x66);
const QColor kLine(0x2a, 0x20, 0x1e);

void ellipse(QPainter& painter, double x, double y, double rx, double ry, const QBrush& brush)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(brush);
    painter.drawEllipse(QPointF(x, y), rx, ry);
}

void paintBooks(QPainter& painter)
{
    const std::array<QColor, 6> spines = {QColor(0xc9, 0x6b, 0x56), QColor(0x5f, 0x7f, 0x9c), QColor(0xd8, 0xb2, 0x62),
        QColor(0x6e, 0x8f, 0x75), QColor(0x8a, 0x6f, 0x94), QColor(0xb9, 0xa8, 0x92)};
    for (const double shelf : {250.0, 440.0}) {
        double x = 60;
        for (int book = 0; x < 300; ++book) {
            const double width = 16 + (book * 7) % 14;
            const double height = 92 + (book * 29 + static_cast<int>(shelf)) % 44;
            painter.fillRect(QRectF(x, shelf - height, width, height),
                spines[static_cast<size_t>(book + (shelf > 300 ? 2 : 0)) % 6].darker(118));
            x += width + 3;
        }
        painter.fillRect(QRectF(40, shelf, 290, 12), QColor(0x6d, 0x52, 0x41));
    }
}

void paintPlant(QPainter& painter)
{
    painter.setPen(Qt::NoPen);
    for (int leaf = 0; leaf < 9; ++leaf) {
        painter.save();
        painter.translate(1110, 500);
        painter.rotate(-64 + leaf * 16);
        painter.setBrush(leaf % 2 ? QColor(0x4f, 0x86, 0x5d) : QColor(0x3f, 0x70, 0x50));
        painter.drawEllipse(QRectF(-17, -190 - (leaf * 37) % 50, 34, 190));
        painter.restore();
    }
    QPainterPath pot;
    pot.moveTo(1052, 490);
    pot.lineTo(1168, 490);
    pot.lineTo(1150, 620);
    pot.lineTo(1070, 620);
    pot.closeSubpath();
    painter.fillPath(pot, QColor(0xc4, 0x7d, 0x5d));
    painter.fillRect(QRectF(980, 618, 300, 102), QColor(0x7d, 0x5f, 0x4b));
}

void paintBody(QPainter& painter)
{
    QPainterPath body;
    body.moveTo(330, 760);
    body.cubicTo(345, 610, 430, 570, 560, 540);
    body.lineTo(720, 540);
    body.cubicTo(850, 570, 935, 610, 950, 760);
    body.closeSubpath();
    QLinearGradient cloth(330, 540, 950, 760);
    cloth.setColorAt(0, kSweater.lighter(108));
    cloth.setColorAt(1, kSweaterShade);
    painter.fillPath(body, cloth);
    painter.setPen(QPen(kSweaterShade.darker(112), 3));
    painter.setBrush(Qt::NoBrush);
    painter.drawArc(QRectF(520, 470, 240, 140), 200 * 16, 140 * 16);
}

void paintNeck(QPainter& painter)
{
    QPainterPath neck;
    neck.moveTo(585, 440);
    neck.lineTo(580, 545);
    neck.quadTo(640, 605, 700, 545);
    neck.lineTo(695, 440);
    neck.closeSubpath();
    painter.fillPath(neck, kSkinShade);
}

QPainterPath headShape()
{
    QPainterPath head;
    head.moveTo(515, 300);
    head.cubicTo(515, 170, 765, 170, 765, 300);
    head.cubicTo(770, 400, 735, 500, 640, 502);
    head.cubicTo(545, 500, 510, 400, 515, 300);
    return head;
}

void paintHead(QPainter& painter)
{
    ellipse(painter, 512, 340, 22, 36, kSkinShade);
    ellipse(painter, 768, 340, 22, 36, kSkinShade);
    QRadialGradient light(610, 300, 250);
    light.setColorAt(0, kSkin.lighter(106));
    light.setColorAt(0.65, kSkin);
    light.setColorAt(1, kSkinShade);
    painter.fillPath(headShape(), light);
    for (const double side : {-1.0, 1.0}) {
        QRadialGradient cheek(640 + side * 74, 398, 44);
        cheek.setColorAt(0, QColor(0xe8, 0x8d, 0x74, 90));
        cheek.setColorAt(1, QColor(0xe8, 0x8d, 0x74, 0));
        ellipse(painter, 640 + side * 74, 398, 44, 32, cheek);
    }
}

void paintHair(QPainter& painter)
{
    QPainterPath hair;
    hair.moveTo(504, 330);
    hair.cubicTo(480, 130, 620, 112, 668, 128);
    hair.cubicTo(760, 120, 800, 210, 776, 330);
    hair.cubicTo(768, 296, 760, 268, 738, 246);
    hair.cubicTo(690, 262, 620, 250, 578, 222);
    hair.cubicTo(560, 256, 520, 270, 504, 330);
    painter.fillPath(hair, kHair);
    painter.setPen(QPen(kHair.lighter(135), 5, Qt::SolidLine, Qt::RoundCap));
    painter.setBrush(Qt::NoBrush);
    QPainterPath shine;
    shine.moveTo(560, 176);
    shine.cubicTo(600, 148, 650, 146, 690, 158);
    painter.drawPath(shine);
}

void paintEye(QPainter& painter, double x, const FaceState& state)
{
    const double open = std::max(0.06, 1 - state.blink);
    ellipse(painter, x, 336, 23, 15 * open, QColor(0xfc, 0xfa, 0xf6));
    painter.save();
    QPainterPath white;
    white.addEllipse(QPointF(x, 336), 23, 15 * open);
    painter.setClipPath(white);
    const QPointF iris(x + state.gaze.x() * 6, 337 + state.gaze.y() * 4);
    ellipse(painter, iris.x(), iris.y(), 12, 12, QColor(0x4a, 0x6d, 0x58));
    ellipse(painter, iris.x(), iris.y(), 6, 6, kLine);
    ellipse(painter, iris.x() + 4, iris.y() - 4, 2.6, 2.6, Qt::white);
    painter.restore();
    painter.setPen(QPen(kLine, 4, Qt::SolidLine, Qt::RoundCap));
    painter.setBrush(Qt::NoBrush);
    painter.drawArc(QRectF(x - 24, 336 - 16 * open, 48, 32 * open), 20 * 16, 140 * 16);
    const double lift = 9 * state.brow;
    painter.setPen(QPen(kHair, 9, Qt::SolidLine, Qt::RoundCap));
    painter.drawArc(QRectF(x - 33, 286 - lift, 66, 44), 42 * 16, 96 * 16);
}

void paintGlasses(QPainter& painter)
{
    painter.setPen(QPen(QColor(0x23, 0x2a, 0x36), 6));
    painter.setBrush(QColor(255, 255, 255, 22));
    painter.drawRoundedRect(QRectF(536, 302, 94, 70), 28, 28);
    painter.drawRoundedRect(QRectF(650, 302, 94, 70), 28, 28);
    painter.drawLine(QPointF(630, 330), QPointF(650, 330));
    painter.drawLine(QPointF(536, 328), QPointF(514, 322));
    painter.drawLine(QPointF(744, 328), QPointF(766, 322));
}

void paintNose(QPainter& painter)
{
    painter.setPen(QPen(kSkinShade.darker(112), 5, Qt::SolidLine, Qt::RoundCap));
    painter.setBrush(Qt::NoBrush);
    QPainterPath nose;
    nose.moveTo(640, 352);
    nose.quadTo(628, 392, 636, 398);
    nose.quadTo(646, 402, 654, 396);
    painter.drawPath(nose);
}

void paintMouth(QPainter& painter, const FaceState& state)
{
    const double width = 46 - 14 * state.roundness * state.openness;
    const double height = 3 + 27 * state.openness;
    const QPointF centre(640, 440 + height * 0.3);
    QPainterPath mouth;
    mouth.moveTo(centre.x() - width, centre.y() - 3);
    mouth.quadTo(centre.x(), centre.y() - height * 0.8, centre.x() + width, centre.y() - 3);
    mouth.quadTo(centre.x(), centre.y() + height * 1.7 + 9, centre.x() - width, centre.y() - 3);
    painter.fillPath(mouth, QColor(0x6e, 0x28, 0x2a));
    painter.save();
    painter.setClipPath(mouth);
    painter.fillRect(
        QRectF(centre.x() - width, centre.y() - height - 6, width * 2, height * 0.62 + 5), QColor(0xfb, 0xf7, 0xf0));
    ellipse(painter, centre.x(), centre.y() + height * 1.1 + 8, width * 0.6, height * 0.6, QColor(0xd9, 0x72, 0x70));
    painter.restore();
    painter.setPen(QPen(QColor(0xb4, 0x63, 0x56), 5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(mouth);
}

} // namespace

FacePainter::FacePainter(QSize size)
    : m_size(size)
    , m_scale(std::max(size.width() / 1280.0, size.height() / 720.0))
    , m_room(size, QImage::Format_RGB32)
    , m_picture(size, QImage::Format_RGB32)
{
    paintRoom();
}

void FacePainter::paintRoom()
{
    QPainter painter(&m_room);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(m_scale, m_scale);
    QLinearGradient wall(0, 0, 1280, 720);
    wall.setColorAt(0, QColor(0xc9, 0xb8, 0xa2));
    wall.setColorAt(1, QColor(0x8f, 0x84, 0x7c));
    painter.fillRect(QRectF(0, 0, 1280, 720), wall);
    QRadialGradient lamp(930, 130, 460);
    lamp.setColorAt(0, QColor(255, 226, 170, 190));
    lamp.setColorAt(1, QColor(255, 226, 170, 0));
    painter.fillRect(QRectF(0, 0, 1280, 720), lamp);
    paintBooks(painter);
    paintPlant(painter);
    QRadialGradient vignette(640, 340, 820);
    vignette.setColorAt(0.55, QColor(20, 14, 10, 0));
    vignette.setColorAt(1, QColor(20, 14, 10, 120));
    painter.fillRect(QRectF(0, 0, 1280, 720), vignette);
}

const QImage& FacePainter::paint(const FaceState& state)
{
    std::memcpy(m_picture.bits(), m_room.constBits(), static_cast<size_t>(m_room.sizeInBytes()));
    QPainter painter(&m_picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(m_scale, m_scale);
    painter.translate(state.sway * 0.4);
    paintBody(painter);
    painter.translate(state.sway * 0.6);
    paintNeck(painter);
    // The head turns about the neck.
    painter.translate(640, 500);
    painter.rotate(state.tilt);
    painter.translate(-640, -500);
    paintHead(painter);
    paintNose(painter);
    paintMouth(painter, state);
    paintEye(painter, 583, state);
    paintEye(painter, 697, state);
    paintGlasses(painter);
    paintHair(painter);
    return m_picture;
}

} // namespace kelmo
