#pragma once

#include <QFontMetricsF>
#include <QPainter>
#include <QString>

namespace kelmo {

/// Times whose digits all take the same room, so that a running clock never jitters. Values; main thread only.
namespace TabularText {

/// Logical pixels that `text` takes.
[[nodiscard]] double width(const QString& text, const QFontMetricsF& metrics);

/// Draws with the painter's font and pen; `origin` is the left end of the baseline.
void draw(QPainter& painter, QPointF origin, const QString& text);

} // namespace TabularText

} // namespace kelmo
