#pragma once

#include "media/stack/picture/PictureOverlay.h"

#include <vector>

namespace kelmo {

/// Where the face circle lies in a picture: in the bottom right corner, in proportion to the picture.
struct FaceCircle {
    int diameter = 0; ///< Pixels.
    int left = 0; ///< Of the square around it, from the picture's left edge.
    int top = 0; ///< From the picture's top edge.

    [[nodiscard]] static FaceCircle in(int width, int height);
    bool operator==(const FaceCircle&) const = default;
};

/// Draws the speaker's face as a circle with a soft edge over a screen picture, on the planes themselves: only the
/// square that holds the circle is touched, in a copy. Immutable after construction; any thread.
class FaceCompositor final : public PictureOverlay {
public:
    /// For pictures of this size.
    FaceCompositor(int width, int height);

    /// Runs the whole way once on a tiny picture, so that libraries are in memory before the first one that anybody
    /// waits for. Any thread.
    static void prewarm();

    [[nodiscard]] const FaceCircle& circle() const { return m_circle; }
    [[nodiscard]] int faceSize() const override { return m_circle.diameter; }

    /// The screen picture with the face over it. Requires pictures of the agreed sizes and in the same colours. Null
    /// when memory runs out.
    [[nodiscard]] VideoFrame compose(const VideoFrame& screen, const FacePicture& face) const override;

private:
    void blendLuma(VideoFrame& picture, const FacePicture& face) const;
    void blendChroma(VideoFrame& picture, const FacePicture& face, int plane) const;

    FramePool m_pool;
    FaceCircle m_circle;
    std::vector<uint8_t> m_alpha; ///< How much of the face shows, diameter × diameter.
};

} // namespace kelmo
