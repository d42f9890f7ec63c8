#include "media/stack/core/MediaTime.h"

#include <algorithm>
#include <cmath>

namespace kelmo {

namespace {

__extension__ typedef __int128 Wide;

/// Only damaged tables come to numbers beyond the limit. Held there, they can still be added and compared.
int64_t limited(Wide value)
{
    constexpr Wide limit = INT64_MAX / 8;
    return int64_t(std::clamp(value, -limit, limit));
}

int64_t floorDivided(Wide value, Wide divisor)
{
    Wide quotient = value / divisor;
    if (value % divisor != 0 && (value < 0) != (divisor < 0))
        --quotient;
    return limited(quotient);
}

} // namespace

MediaTime MediaTime::fromMs(double ms)
{
    // Times beyond three centuries only come from nonsense, and must not overflow.
    const double us = std::clamp(ms * 1000.0, -1e16, 1e16);
    return {std::isnan(us) ? 0 : int64_t(us)};
}

TimeRange TimeRange::intersected(TimeRange other) const
{
    const MediaTime from = std::max(start, other.start);
    const MediaTime to = std::min(end(), other.end());
    return {from, std::max(MediaTime{}, to - from)};
}

ExactTime ExactTime::movedBy(MediaTime offset) const
{
    constexpr int64_t microseconds = 1'000'000;
    if (den == microseconds)
        return {num + offset.us, den};
    return {num * microseconds + offset.us * den, den * microseconds};
}

bool ExactTime::isBefore(MediaTime time) const { return Wide(num) * 1'000'000 < Wide(time.us) * den; }

int64_t ExactTime::ticksFloor(Ratio timeBase) const
{
    return floorDivided(Wide(num) * timeBase.den, Wide(den) * timeBase.num);
}

int64_t ExactTime::ticksNearest(Ratio timeBase) const
{
    const Wide divisor = Wide(den) * timeBase.num;
    return floorDivided(2 * Wide(num) * timeBase.den + divisor, 2 * divisor);
}

MediaTime fromTicks(int64_t ticks, Ratio timeBase) { return {scaled(ticks, 1'000'000 * timeBase.num, timeBase.den)}; }

int64_t scaled(int64_t value, int64_t num, int64_t den)
{
    const Wide product = Wide(value) * num;
    const Wide half = den / 2;
    return limited((product < 0 ? product - half : product + half) / den);
}

} // namespace kelmo
