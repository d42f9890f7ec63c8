#include "media/stack/player/Continuation.h"

#include "media/stack/composition/AudioMixer.h"

#include <algorithm>

namespace kelmo {

namespace {

constexpr MediaTime forever{INT64_MAX / 8};

bool haveSameForm(const PlayerItem& a, const PlayerItem& b)
{
    const auto sameTracks = [](const CompositionTrack& one, const CompositionTrack& other) {
        return one.track == other.track && one.asset == other.asset;
    };
    const Composition& from = *a.composition;
    const Composition& to = *b.composition;
    return a.width == b.width && a.height == b.height && a.fps == b.fps && a.overlay == b.overlay
        && sameTracks(from.screen, to.screen) && from.camera.has_value() == to.camera.has_value()
        && (!from.camera || sameTracks(*from.camera, *to.camera))
        && std::equal(from.audio.begin(), from.audio.end(), to.audio.begin(), to.audio.end(), sameTracks);
}

/// What lies between a segment's clock and the source's.
MediaTime offsetOf(const CompositionSegment& segment) { return segment.at - segment.source.start; }

int64_t soundOffsetOf(const CompositionSegment& segment)
{
    return AudioMixer::sampleAt(segment.at) - AudioMixer::sampleAt(segment.source.start);
}

/// Until when `after`, moved back by `shift`, is as `before` from `at` on.
MediaTime alikeUntil(const CompositionTrack& before, MediaTime at, const CompositionTrack& after, MediaTime shift)
{
    for (;;) {
        const CompositionSegment* one = before.segmentAt(ExactTime::of(at));
        const CompositionSegment* other = after.segmentAt(ExactTime::of(at + shift));
        if ((one == nullptr) != (other == nullptr) || (one && offsetOf(*other) - offsetOf(*one) != shift))
            return at;
        const auto endOf = [](const CompositionTrack& track, const CompositionSegment* segment, MediaTime time) {
            if (segment)
                return segment->place().end();
            const auto next = std::partition_point(track.segments.begin(), track.segments.end(),
                [&](const CompositionSegment& each) { return each.at <= time; });
            return next == track.segments.end() ? forever : next->at;
        };
        const MediaTime end = endOf(before, one, at);
        const MediaTime otherEnd = endOf(after, other, at + shift);
        if (end == forever && otherEnd == forever)
            return forever;
        at = std::min(end, otherEnd - shift);
    }
}

} // namespace

std::optional<Continuation> Continuation::find(
    const PlayerItem& before, MediaTime at, const PlayerItem& after, MediaTime afterAt, MediaTime tolerance)
{
    if (!haveSameForm(before, after))
        return std::nullopt;
    const Composition& from = *before.composition;
    const Composition& to = *after.composition;
    const CompositionSegment* playing = from.screen.segmentAt(ExactTime::of(at));
    const CompositionSegment* wanted = to.screen.segmentAt(ExactTime::of(afterAt));
    if (!playing || !wanted)
        return std::nullopt;
    Continuation found{offsetOf(*wanted) - offsetOf(*playing), soundOffsetOf(*wanted) - soundOffsetOf(*playing),
        std::min(from.duration, to.duration - (offsetOf(*wanted) - offsetOf(*playing)))};
    const MediaTime off = at + found.shift - afterAt;
    if (std::max(off, MediaTime{} - off) > tolerance)
        return std::nullopt;
    const auto limit = [&](const CompositionTrack& one, const CompositionTrack& other) {
        found.until = std::min(found.until, alikeUntil(one, at, other, found.shift));
    };
    limit(from.screen, to.screen);
    if (from.camera)
        limit(*from.camera, *to.camera);
    for (size_t i = 0; i < from.audio.size(); ++i)
        limit(from.audio[i], to.audio[i]);
    return found.until > at ? std::optional(found) : std::nullopt;
}

} // namespace kelmo
