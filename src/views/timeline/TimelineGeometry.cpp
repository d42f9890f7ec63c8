#include "views/timeline/TimelineGeometry.h"

#include <algorithm>

namespace kelmo {

TimelineGeometry::TimelineGeometry(const Timeline& full, double viewWidth)
    : m_full(full)
    , m_trackWidth(std::max(1.0, viewWidth - 2 * handleWidth))
{
}

double TimelineGeometry::x(double sourceMs) const
{
    if (m_full.durationMs <= 0)
        return 0;
    return std::clamp(m_full.edited(sourceMs) / m_full.durationMs, 0.0, 1.0) * m_trackWidth;
}

double TimelineGeometry::toSource(double x) const
{
    return m_full.source(std::clamp(x / m_trackWidth, 0.0, 1.0) * m_full.durationMs);
}

std::vector<double> TimelineGeometry::tileTimes() const
{
    constexpr double tileWidth = barHeight * 16 / 9;
    const int count = std::max(1, int(m_trackWidth / tileWidth));
    std::vector<double> times;
    times.reserve(size_t(count));
    for (int i = 0; i < count; ++i)
        times.push_back(toSource((i + 0.5) * m_trackWidth / count));
    return times;
}

} // namespace kelmo
