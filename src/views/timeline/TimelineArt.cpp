#include "views/timeline/TimelineArt.h"

#include "views/style/Theme.h"

namespace kelmo {

namespace {

/// One corner of a soft outline, from `from` to `to` around `corner`: it leaves the edge earlier than a circle would,
/// and passes through the same point half-way.
void bend(QPainterPath& path, QPointF corner, QPointF from, QPointF to)
{
    constexpr double pull = 0.277; // The control points' distance from the corner, in the length of the bend.
    path.lineTo(from);
    path.cubicTo(corner + pull * (from - corner), corner + pull * (to - corner), to);
}

constexpr double bendOfRadius = 1.28;

void chevron(QPainter& painter, QPointF centre, TimelineArt::Side side)
{
    constexpr double across = 2.25;
    constexpr double up = 7;
    const double tip = side == TimelineArt::Side::Left ? -across : across;
    const std::array points{centre + QPointF(-tip, -up), centre + QPointF(tip, 0), centre + QPointF(-tip, up)};
    painter.setPen(QPen(Theme::black(0.75), 2.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawPolyline(points.data(), int(points.size()));
}

QColor mixed(QColor a, QColor b, double share)
{
    const auto mix = [share](double x, double y) { return float(x + (y - x) * share); };
    return QColor::fromRgbF(mix(a.redF(), b.redF()), mix(a.greenF(), b.greenF()), mix(a.blueF(), b.blueF()));
}

} // namespace

QPainterPath TimelineArt::softRect(const QRectF& rect, double radius)
{
    const double d = std::min({bendOfRadius * radius, rect.width() / 2, rect.height() / 2});
    const QPointF h(d, 0);
    const QPointF v(0, d);
    QPainterPath path(rect.topLeft() + h);
    bend(path, rect.topRight(), rect.topRight() - h, rect.topRight() + v);
    bend(path, rect.bottomRight(), rect.bottomRight() - v, rect.bottomRight() - h);
    bend(path, rect.bottomLeft(), rect.bottomLeft() + h, rect.bottomLeft() - v);
    bend(path, rect.topLeft(), rect.topLeft() + v, rect.topLeft() + h);
    path.closeSubpath();
    return path;
}

void TimelineArt::handle(QPainter& painter, const QRectF& rect, Side side, double pulled, double hovered)
{
    constexpr double lighterWhenHovered = 0.35;
    constexpr double opacityWhenPulled = 0.85;
    const double taller = rect.height() * stretch * pulled / 2;
    QColor fill = mixed(Theme::yellow, Qt::white, lighterWhenHovered * hovered);
    fill.setAlphaF(float(1 - (1 - opacityWhenPulled) * std::clamp(pulled, 0.0, 1.0)));
    // Soft outside, square inside: one half of a shape that is twice as wide.
    const double inside = rect.width();
    const QRectF whole = side == Side::Left ? rect.adjusted(0, 0, inside, 0) : rect.adjusted(-inside, 0, 0, 0);
    painter.save();
    painter.setClipRect(rect.adjusted(0, -rect.height(), 0, rect.height()), Qt::IntersectClip);
    painter.fillPath(softRect(whole.adjusted(0, -taller, 0, taller), Theme::stripRadius), fill);
    painter.restore();
    chevron(painter, rect.center(), side);
}

void TimelineArt::trimmedPart(QPainter& painter, const QRectF& strip, double from, double to)
{
    if (to <= from)
        return;
    painter.save();
    painter.setClipRect(QRectF(from, strip.top(), to - from, strip.height()), Qt::IntersectClip);
    painter.fillPath(softRect(strip, Theme::stripRadius), Theme::black(0.62));
    painter.restore();
}

void TimelineArt::selection(QPainter& painter, const QRectF& rect)
{
    constexpr double border = 2;
    constexpr double radius = 5;
    QColor fill = Theme::accent;
    fill.setAlphaF(0.28F);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(rect, radius, radius);
    painter.setPen(QPen(Theme::accent, border));
    painter.setBrush(Qt::NoBrush);
    const double half = std::min(border, rect.width()) / 2;
    painter.drawRoundedRect(rect.adjusted(half, border / 2, -half, -border / 2), radius - 1, radius - 1);
}

void TimelineArt::splitMarker(QPainter& painter, const QRectF& rect)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::yellow);
    painter.drawRoundedRect(rect, rect.width() / 2, rect.width() / 2);
}

void TimelineArt::playhead(QPainter& painter, const QRectF& rect)
{
    // Layers that shrink towards the middle add up to a soft shadow of the opacity wanted at its core.
    constexpr double layer = 0.2;
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::black(layer));
    for (double reach = shadowReach; reach > 0; --reach) {
        const double corner = rect.width() / 2 + reach;
        painter.drawRoundedRect(rect.adjusted(-reach, -reach, reach, reach), corner, corner);
    }
    painter.setBrush(Qt::white);
    painter.drawRoundedRect(rect, rect.width() / 2, rect.width() / 2);
}

void TimelineArt::focusRing(QPainter& painter, const QRectF& rect)
{
    constexpr double half = Theme::focusWidth / 2.0;
    const double out = Theme::focusOffset + half;
    painter.setPen(QPen(Theme::accent, Theme::focusWidth));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(softRect(rect.adjusted(half, -out, -half, out), Theme::stripRadius + out));
}

} // namespace kelmo
