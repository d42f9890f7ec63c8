#pragma once

#include "media/stack/picture/VideoFrame.h"

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

struct SwsContext;

namespace kelmo {

/// The centre square of a camera picture at the size at which it is drawn, with a colour value for every pixel, so
/// that it can be placed at any position, odd or even. Immutable once made; shared between threads.
struct FacePicture {
    int size = 0; ///< Pixels on a side.
    std::array<std::vector<uint8_t>, 3> planes; ///< Luma and the two chroma planes, size × size each.
};

/// Cuts camera pictures to their centre square, scales them and puts them into the screen's colours. Owned by one user
/// at a time; not thread-safe.
class FaceScaler {
public:
    /// Squares of `size` pixels in `target` colours, from camera pictures of `naturalWidth` by `naturalHeight` square
    /// pixels that need `quarterTurns` clockwise turns to stand upright.
    FaceScaler(int size, ColorTags target, int naturalWidth, int naturalHeight, int quarterTurns);
    ~FaceScaler();
    FaceScaler(const FaceScaler&) = delete;
    FaceScaler& operator=(const FaceScaler&) = delete;

    /// Null when memory runs out.
    [[nodiscard]] std::shared_ptr<const FacePicture> scale(const VideoFrame& camera);

private:
    int m_size;
    ColorTags m_target;
    int m_naturalWidth;
    int m_naturalHeight;
    int m_quarterTurns;
    SwsContext* m_scaler = nullptr;
};

} // namespace kelmo
