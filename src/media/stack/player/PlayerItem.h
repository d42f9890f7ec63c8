#pragma once

#include "media/stack/composition/Composition.h"
#include "media/stack/picture/PictureOverlay.h"

namespace kelmo {

/// What a player plays: an edit, and how its pictures are put together. Immutable; shared between threads.
struct PlayerItem {
    std::shared_ptr<const Composition> composition;
    std::vector<VolumeRamp> ramps; ///< Of the sound's joins.
    int width = 0; ///< Upright pixels of a composed picture.
    int height = 0;
    /// Pictures a second of a steady grid; 0 shows every picture of the screen track.
    int fps = 0;
    std::shared_ptr<const PictureOverlay> overlay; ///< Only with a camera track.
};

} // namespace kelmo
