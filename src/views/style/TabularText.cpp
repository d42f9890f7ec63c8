#include "views/style/TabularText.h"

#include <algorithm>

namespace kelmo {

namespace {

double digitWidth(const QFontMetricsF& metrics)
{
    double widest = 0;
    for (char digit = '0'; digit <= '9'; ++digit)
        widest = std::max(widest, metrics.horizontalAdvance(QLatin1Char(digit)));
    return widest;
}

/// Calls `visit(characters, offset, room)` for each digit and for each run of others.
template <class Visit> double walk(const QString& text, const QFontMetricsF& metrics, Visit visit)
{
    const double digit = digitWidth(metrics);
    double x = 0;
    for (qsizetype i = 0; i < text.size();) {
        qsizetype end = i + 1;
        if (!text[i].isDigit())
            while (end < text.size() && !text[end].isDigit())
                ++end;
        const QString part = text.mid(i, end - i);
        const double room = text[i].isDigit() ? digit : metrics.horizontalAdvance(part);
        visit(part, x, room);
        x += room;
        i = end;
    }
    return x;
}

} // namespace

double TabularText::width(const QString& text, const QFontMetricsF& metrics)
{
    return walk(text, metrics, [](const QString&, double, double) {});
}

void TabularText::draw(QPainter& painter, QPointF origin, const QString& text)
{
    const QFontMetricsF metrics(painter.font(), painter.device());
    walk(text, metrics, [&](const QString& part, double x, double room) {
        const double slack = room - metrics.horizontalAdvance(part);
        painter.drawText(origin + QPointF(x + slack / 2, 0), part);
    });
}

} // namespace kelmo
