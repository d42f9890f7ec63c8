#pragma once

#include "media/stack/container/Asset.h"

#include <optional>

namespace kelmo {

/// A stretch of a track placed on the edited clock.
struct CompositionSegment {
    MediaTime at; ///< Where it starts on the edited clock.
    TimeRange source; ///< What it shows, on the source file's clock.

    [[nodiscard]] TimeRange place() const { return {at, source.duration}; }
    bool operator==(const CompositionSegment&) const = default;
};

/// One track of a composition: references into one track of one asset, ascending and without overlap. What lies between
/// the segments is a gap.
struct CompositionTrack {
    std::shared_ptr<const Asset> asset;
    const Track* track = nullptr; ///< Owned by `asset`.
    std::vector<CompositionSegment> segments;

    /// Places [source) of the track at `at`. An empty stretch places nothing.
    void insert(TimeRange source, MediaTime at);

    /// The segment on show at a moment of the edited clock; none in a gap.
    [[nodiscard]] const CompositionSegment* segmentAt(ExactTime time) const;

    /// The entry of the track's display list shown at a moment: none in a gap, or before the track's first picture.
    [[nodiscard]] std::optional<int> frameAt(ExactTime time) const;
};

/// The moment of the source file that a segment shows at a moment of the edited clock.
[[nodiscard]] ExactTime sourceTime(const CompositionSegment& segment, ExactTime edited);

/// A linear change of volume over a stretch of the edited clock.
struct VolumeRamp {
    TimeRange place;
    float from = 1;
    float to = 1;

    bool operator==(const VolumeRamp&) const = default;
};

/// An edit as references into its sources: nothing is copied, and building one touches no media. Immutable once built
/// and shared between threads. Times are on the edited clock, which starts at 0.
struct Composition {
    CompositionTrack screen;
    std::optional<CompositionTrack> camera;
    std::vector<CompositionTrack> audio;
    MediaTime duration;
};

} // namespace kelmo
