#include "media/stack/composition/Composition.h"

namespace kelmo {

void CompositionTrack::insert(TimeRange source, MediaTime at)
{
    if (!source.isEmpty())
        segments.push_back({at, source});
}

const CompositionSegment* CompositionTrack::segmentAt(ExactTime time) const
{
    const auto next = std::upper_bound(segments.begin(), segments.end(), time,
        [](ExactTime at, const CompositionSegment& segment) { return at.isBefore(segment.at); });
    if (next == segments.begin())
        return nullptr;
    const CompositionSegment& segment = *std::prev(next);
    return time.isBefore(segment.place().end()) ? &segment : nullptr;
}

std::optional<int> CompositionTrack::frameAt(ExactTime time) const
{
    const CompositionSegment* segment = segmentAt(time);
    return segment ? track->index.frameAt(sourceTime(*segment, time)) : std::nullopt;
}

ExactTime sourceTime(const CompositionSegment& segment, ExactTime edited)
{
    return edited.movedBy(segment.source.start - segment.at);
}

} // namespace kelmo
