#pragma once

// What all slides share: colours, type, and the shapes that come up again.

#include "tools/sample-take/ScreenState.h"

#include <QColor>
#include <QFont>
#include <QPainter>

namespace kelmo::style {

inline const QColor Ink(0x12, 0x18, 0x29);
inline const QColor Panel(0x1d, 0x26, 0x3e);
inline const QColor PanelEdge(0x32, 0x3e, 0x5e);
inline const QColor Text(0xf1, 0xf4, 0xfb);
inline const QColor Dim(0x90, 0x9c, 0xb8);
inline const QColor Faint(0x4a, 0x57, 0x78);
inline const QColor Yellow(0xff, 0xcf, 0x5c);
inline const QColor Coral(0xff, 0x76, 0x6b);
inline const QColor Mint(0x5f, 0xd8, 0xb5);
inline const QColor Sky(0x7d, 0xb7, 0xff);

[[nodiscard]] QFont headline(int pixels);
[[nodiscard]] QFont body(int pixels, QFont::Weight weight = QFont::Normal);
[[nodiscard]] QFont code(int pixels);

[[nodiscard]] QColor faded(QColor colour, double opacity);

/// From 0 to 1: how much of step `step` is on the slide.
[[nodiscard]] double shown(const SlideState& state, int step);

void panel(QPainter& painter, const QRectF& place, const QColor& fill = Panel);
void title(QPainter& painter, const QString& text);
/// Text from a left edge and a baseline.
void write(QPainter& painter, QPointF baseline, const QString& text, const QFont& font, const QColor& colour);

/// A row of bars like a voice; `colourAt` gives each bar's colour by its place from 0 to 1.
template <class ColourAt> void waveform(QPainter& painter, const QRectF& place, int bars, int seed, ColourAt colourAt);

/// The height, from 0 to 1, of one bar of a waveform.
[[nodiscard]] double barHeight(int bar, int seed);

template <class ColourAt> void waveform(QPainter& painter, const QRectF& place, int bars, int seed, ColourAt colourAt)
{
    const double step = place.width() / bars;
    painter.setPen(Qt::NoPen);
    for (int bar = 0; bar < bars; ++bar) {
        const double height = std::max(step * 0.6, barHeight(bar, seed) * place.height());
        const QRectF box(place.left() + bar * step, place.center().y() - height / 2, step * 0.6, height);
        painter.setBrush(colourAt((bar + 0.5) / bars));
        painter.drawRoundedRect(box, step * 0.3, step * 0.3);
    }
}

} // namespace kelmo::style
