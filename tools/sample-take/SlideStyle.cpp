#include "tools/sample-take/SlideStyle.h"

namespace kelmo::style {

QFont headline(int pixels)
{
    QFont font;
    font.setFamilies({QStringLiteral("Inter Display"), QStringLiteral("Inter"), QStringLiteral("DejaVu Sans")});
    font.setPixelSize(pixels);
    font.setWeight(QFont::DemiBold);
    font.setLetterSpacing(QFont::PercentageSpacing, 98);
    return font;
}

QFont body(int pixels, QFont::Weight weight)
{
    QFont font;
    font.setFamilies({QStringLiteral("Inter"), QStringLiteral("DejaVu Sans")});
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}

QFont code(int pixels)
{
    QFont font;
    font.setFamilies({QStringLiteral("DejaVu Sans Mono"), QStringLiteral("monospace")});
    font.setPixelSize(pixels);
    return font;
}

QColor faded(QColor colour, double opacity)
{
    colour.setAlphaF(colour.alphaF() * static_cast<float>(opacity));
    return colour;
}

double shown(const SlideState& state, int step)
{
    if (state.step != step)
        return state.step > step ? 1 : 0;
    const double left = 1 - static_cast<double>(state.phase) / kPhases;
    return 1 - left * left * left;
}

void panel(QPainter& painter, const QRectF& place, const QColor& fill)
{
    painter.setPen(QPen(PanelEdge, 1.5));
    painter.setBrush(fill);
    painter.drawRoundedRect(place, 22, 22);
}

void title(QPainter& painter, const QString& text)
{
    painter.fillRect(QRectF(140, 128, 56, 6), Yellow);
    write(painter, {140, 216}, text, headline(68), Text);
}

void write(QPainter& painter, QPointF baseline, const QString& text, const QFont& font, const QColor& colour)
{
    painter.setFont(font);
    painter.setPen(colour);
    painter.drawText(baseline, text);
}

double barHeight(int bar, int seed)
{
    // Syllables inside phrases inside sentences, and a little that looks like chance.
    const double x = bar + seed * 37.0;
    const double syllable = 0.5 + 0.5 * std::sin(x * 0.83);
    const double phrase = std::clamp(0.62 + 0.75 * std::sin(x * 0.117 + seed), 0.0, 1.0);
    const double grain = 0.6 + 0.4 * std::sin(x * 2.71 + std::cos(x * 1.3));
    return std::clamp(phrase * (0.25 + 0.75 * syllable) * grain, 0.03, 1.0);
}

} // namespace kelmo::style
