#pragma once

#include "media/stack/picture/FacePicture.h"

namespace kelmo {

/// Draws the camera's picture over the screen's. Immutable; any thread.
class PictureOverlay {
public:
    virtual ~PictureOverlay() = default;

    [[nodiscard]] virtual int faceSize() const = 0; ///< Pixels on a side of the square that is drawn.

    /// A new picture with the face over it. Null when memory runs out.
    [[nodiscard]] virtual VideoFrame compose(const VideoFrame& screen, const FacePicture& face) const = 0;
};

} // namespace kelmo
