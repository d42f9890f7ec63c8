#include "views/timeline/TrimBubble.h"

#include "views/style/TabularText.h"
#include "views/style/Theme.h"

#include <QPainterPath>

namespace kelmo {

namespace {

constexpr double padding = 10;
constexpr double between = 7;
constexpr double boxHeight = 26;
constexpr double tipHeight = 5;
constexpr double tipHalf = 6;
constexpr double maxWordWidth = 180;
constexpr double fromEdge = 4;
constexpr double radius = 7;

} // namespace

TrimBubble::TrimBubble(QWidget* window)
    : QWidget(window)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFont(Theme::buttonFont());
}

void TrimBubble::showAt(QPointF tip, const QString& time, const QString& word)
{
    const QFontMetricsF metrics(font());
    m_time = time;
    m_word = word.isEmpty()
        ? QString()
        : metrics.elidedText(QStringLiteral("“") % word % QStringLiteral("”"), Qt::ElideMiddle, maxWordWidth);
    setAccessibleName(m_word.isEmpty() ? m_time : m_time % QStringLiteral(" ") % m_word);
    const double wordRoom = m_word.isEmpty() ? 0 : between + metrics.horizontalAdvance(m_word);
    const QSizeF size(2 * padding + TabularText::width(m_time, metrics) + wordRoom, boxHeight + tipHeight);
    const double rightmost = std::max(fromEdge, parentWidget()->width() - size.width() - fromEdge);
    const double left = std::clamp(tip.x() - size.width() / 2, fromEdge, rightmost);
    setGeometry(QRectF(QPointF(left, tip.y()), size).toAlignedRect());
    m_tipX = std::clamp(tip.x() - x(), radius + tipHalf, width() - radius - tipHalf);
    raise();
    show();
    update();
}

void TrimBubble::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF box = QRectF(rect()).adjusted(0.5, tipHeight + 0.5, -0.5, -0.5);
    QPainterPath shape;
    shape.addRoundedRect(box, radius, radius);
    QPainterPath tip;
    tip.addPolygon(QPolygonF({QPointF(m_tipX - tipHalf, box.top()), QPointF(m_tipX, box.top() - tipHeight),
        QPointF(m_tipX + tipHalf, box.top())}));
    tip.closeSubpath();
    painter.setPen(Theme::white(0.14));
    painter.setBrush(Theme::surface3);
    painter.drawPath(shape.united(tip));

    const QFontMetricsF metrics(font(), this);
    const QPointF start(padding, box.center().y() + metrics.capHeight() / 2);
    painter.setPen(Theme::text1);
    TabularText::draw(painter, start, m_time);
    painter.setPen(Theme::text2);
    painter.drawText(start + QPointF(TabularText::width(m_time, metrics) + between, 0), m_word);
}

} // namespace kelmo
