#pragma once

#include "media/Built.h"
#include "media/stack/encode/VideoEncoder.h"

namespace kelmo {

/// One picture of an export: when it shows, and which entries of the sources' display lists it is made of.
struct PlannedFrame {
    static constexpr int none = -1;

    int64_t pts = 0; ///< Ticks of VideoEncoder::timeBase.
    int screen = none; ///< Black when there is none.
    int camera = none; ///< No circle when there is none.
    bool key = false; ///< To be coded as a key frame.

    bool operator==(const PlannedFrame&) const = default;
};

/// Which pictures an export shows and when, worked out before anything is decoded. Pure functions; any thread.
namespace ExportPlan {

/// With a webcam: one picture at every step of the grid.
[[nodiscard]] std::vector<PlannedFrame> onGrid(const Composition& composition, int fps);

/// Without: the screen movie's own pictures at their own times. The one that is on show when a piece starts is shown
/// from the piece's start.
[[nodiscard]] std::vector<PlannedFrame> ownFrames(const Composition& composition);

/// At most `fps` pictures a second: one that follows too soon is dropped. What was dropped last shows after all when
/// nothing follows for a while, so that a picture never stays out of date longer than the grid is wide.
[[nodiscard]] std::vector<PlannedFrame> capped(const std::vector<PlannedFrame>& frames, int fps, MediaTime end);

/// Marks the key frames: at least one in every two seconds, the first included. A picture that stands still for longer
/// is repeated, so that one can fall there, too.
[[nodiscard]] std::vector<PlannedFrame> withKeyFrames(const std::vector<PlannedFrame>& frames, MediaTime end);

/// A time on the edited clock in ticks of the encoder.
[[nodiscard]] int64_t ticks(MediaTime time);

} // namespace ExportPlan

} // namespace kelmo
