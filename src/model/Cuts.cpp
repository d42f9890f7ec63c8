#include "model/Cuts.h"

#include <QStringList>

#include <algorithm>
#include <cmath>

namespace kelmo {

namespace {

// A shorter piece would be a flash of picture and a click of sound between two cuts.
constexpr double shortestPieceMs = 20;
// Shorter remnants of a cut come from rounded times. They cannot be seen, but each is heard.
constexpr double minRemnantMs = 10;
constexpr double trimToleranceMs = 1;

QString wholeMs(double ms)
{
    // Adding zero turns a negative zero into a plain one.
    return QString::number(std::trunc(ms) + 0.0, 'f', 0);
}

} // namespace

std::vector<Span> Cuts::normalize(std::vector<Span> spans)
{
    std::stable_sort(spans.begin(), spans.end(), [](const Span& a, const Span& b) { return a.start < b.start; });
    std::vector<Span> merged;
    merged.reserve(spans.size());
    for (const Span& span : spans) {
        if (!merged.empty() && span.start <= merged.back().end)
            merged.back().end = std::max(merged.back().end, span.end);
        else
            merged.push_back(span);
    }
    return merged;
}

void Cuts::add(const std::vector<Span>& ranges)
{
    std::vector<Span> all = spans;
    std::copy_if(ranges.begin(), ranges.end(), std::back_inserter(all), [](const Span& s) { return s.start < s.end; });
    spans = normalize(std::move(all));
    refresh();
}

void Cuts::subtract(std::vector<Span> ranges)
{
    std::erase_if(ranges, [](const Span& range) { return range.isEmpty(); });
    ranges = normalize(std::move(ranges));
    std::vector<Span> left;
    left.reserve(spans.size() + ranges.size());
    auto next = ranges.begin();
    for (const Span& span : spans) {
        const auto keep = [&](Span piece) {
            if (piece == span || piece.end - piece.start >= minRemnantMs)
                left.push_back(piece);
        };
        // Spans and ranges both ascend, so ranges that end before this span are done with.
        next = std::find_if(next, ranges.end(), [&](const Span& range) { return range.end > span.start; });
        double from = span.start;
        for (auto range = next; range != ranges.end() && range->start < span.end; ++range) {
            keep({from, range->start});
            from = range->end;
        }
        keep({from, span.end});
    }
    spans = std::move(left);
    refresh();
}

void Cuts::setTrim(double in, double out, double durationMs)
{
    trimIn = in >= trimToleranceMs ? in : 0;
    trimOut = out < durationMs - trimToleranceMs ? out : noTrimOut;
    refresh();
}

bool Cuts::isTrimmed() const { return trimIn > 0 || std::isfinite(trimOut); }

void Cuts::refresh()
{
    effective = spans;
    if (!isTrimmed())
        return;
    if (trimIn > 0)
        effective.push_back({0, trimIn});
    if (std::isfinite(trimOut))
        effective.push_back({trimOut, std::numeric_limits<double>::infinity()});
    effective = normalize(std::move(effective));
}

std::vector<Span> Cuts::keep(double durationMs) const
{
    std::vector<Span> kept;
    const auto emit = [&kept](double start, double end) {
        if (end - start >= shortestPieceMs)
            kept.push_back({start, end});
    };
    double cursor = 0;
    for (const Span& span : effective) {
        if (cursor < span.start)
            emit(cursor, std::min(span.start, durationMs));
        cursor = std::max(cursor, span.end);
        if (cursor >= durationMs)
            break;
    }
    if (cursor < durationMs)
        emit(cursor, durationMs);
    return kept;
}

QString Cuts::signature() const
{
    QStringList ranges;
    for (const Span& span : spans)
        ranges.append(wholeMs(span.start) + QLatin1Char('-') + wholeMs(span.end));
    QString cut = ranges.join(QLatin1Char(','));
    if (!isTrimmed())
        return cut;
    const QString out = std::isfinite(trimOut) ? wholeMs(trimOut) : QStringLiteral("end");
    return cut + QLatin1String("|trim ") + wholeMs(trimIn) + QLatin1Char('-') + out;
}

} // namespace kelmo
