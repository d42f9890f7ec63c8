#include "model/Timeline.h"

#include <algorithm>

namespace kelmo {

namespace {

double lengthOf(const Span& range) { return std::max(0.0, range.end - range.start); }

} // namespace

Timeline::Timeline(std::vector<Span> ranges)
    : keep(std::move(ranges))
{
    starts.reserve(keep.size());
    for (const Span& range : keep) {
        starts.push_back(durationMs);
        durationMs += lengthOf(range);
    }
}

double Timeline::edited(double sourceMs) const
{
    const auto range = std::partition_point(
        keep.begin(), keep.end(), [sourceMs](const Span& r) { return !(std::max(r.start, r.end) > sourceMs); });
    if (range == keep.end())
        return durationMs;
    const double start = starts[static_cast<size_t>(range - keep.begin())];
    return range->start > sourceMs ? start : start + (sourceMs - range->start);
}

double Timeline::source(double editedMs) const
{
    if (keep.empty())
        return 0;
    // The last range that begins at or before the time is the one that shows it, unless the time is past the end.
    if (!(editedMs < durationMs))
        return keep.back().end;
    const auto next = std::upper_bound(starts.begin(), starts.end(), editedMs);
    const auto index = next == starts.begin() ? 0 : static_cast<size_t>(next - starts.begin()) - 1;
    return keep[index].start + std::max(0.0, editedMs - starts[index]);
}

} // namespace kelmo
