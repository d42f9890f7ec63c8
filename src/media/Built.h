#pragma once

#include "media/LoadedTake.h"
#include "media/stack/composition/Composition.h"
#include "model/Timeline.h"

namespace kelmo {

/// How the pictures of an edit with a webcam are put together: at which size and on which grid of times.
struct VideoComposition {
    int width = 0; ///< Pixels.
    int height = 0;
    int fps = 60; ///< Frames a second; frame k shows the moment k / fps.

    bool operator==(const VideoComposition&) const = default;
};

/// An edit ready to be played, exported or looked at. Immutable; shared between threads.
struct Built {
    std::shared_ptr<const LoadedTake> loaded; ///< Keeps the sources open.
    Composition composition;
    std::optional<VideoComposition> videoComposition; ///< Only with a webcam.
    std::optional<std::vector<VolumeRamp>> audioMix; ///< The joins' ramps; only with two pieces or more, and sound.
    Timeline timeline;

    /// For benchmarks: previews at the full size and rate.
    static inline bool nativePreview = false;

    /// What the preview player composes: at most 1080 lines at 30 frames a second.
    [[nodiscard]] std::optional<VideoComposition> previewVideoComposition() const;
};

} // namespace kelmo
