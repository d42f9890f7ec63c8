#pragma once

#include <QPainter>
#include <QPainterPath>

namespace kelmo {

/// How the parts of the timeline bar look. Rectangles are logical pixels; painters come with antialiasing on.
namespace TimelineArt {

constexpr double playheadWidth = 3;
constexpr double playheadHeight = 56;
constexpr double playheadRaised = 5; ///< Above the strip's top.
constexpr double shadowReach = 4; ///< How far a playhead's shadow may be seen.
constexpr double splitWidth = 3;
constexpr double stretch = 0.06; ///< How much higher a handle gets while it is dragged.

enum class Side { Left, Right };

/// A trim handle. `pulled` and `hovered` go from 0 to 1; a spring may take the first a little beyond.
void handle(QPainter& painter, const QRectF& rect, Side side, double pulled, double hovered);

/// Darkens the part of the strip between two x.
void trimmedPart(QPainter& painter, const QRectF& strip, double from, double to);
void selection(QPainter& painter, const QRectF& rect);
void splitMarker(QPainter& painter, const QRectF& rect);
void playhead(QPainter& painter, const QRectF& rect);
void focusRing(QPainter& painter, const QRectF& rect);

/// A strip's outline, with corners that bend in gradually.
[[nodiscard]] QPainterPath softRect(const QRectF& rect, double radius);

} // namespace TimelineArt

} // namespace kelmo
