#pragma once

#include "media/stack/picture/VideoFrame.h"

#include <memory>

struct SwsContext;

namespace kelmo {

/// How finely a picture is scaled.
enum class Scaling {
    Fast, ///< For what moves: bilinear.
    Fine, ///< For what is kept: bicubic, exactly rounded.
};

/// Makes decoder pictures into what the rest of the program works with: planar 8-bit 4:2:0, upright, of one size, in
/// stated colours. A picture that is all of that already passes by reference. Keeps its scaler between pictures; owned
/// by one user at a time, not thread-safe.
class FrameConverter {
public:
    /// Output of `width` by `height` upright pixels, after `quarterTurns` clockwise turns. Colours that the pictures
    /// leave open are `assumed`.
    FrameConverter(int width, int height, int quarterTurns, ColorTags assumed, Scaling scaling);
    ~FrameConverter();
    FrameConverter(const FrameConverter&) = delete;
    FrameConverter& operator=(const FrameConverter&) = delete;

    /// Also translate matrix and range to these, for a picture that is drawn into another one.
    void setTargetColor(ColorTags color);

    /// Null when memory runs out.
    [[nodiscard]] VideoFrame convert(const VideoFrame& frame);

private:
    [[nodiscard]] ColorTags colorOf(const VideoFrame& frame) const;
    [[nodiscard]] VideoFrame scale(const VideoFrame& frame, ColorTags from, ColorTags to);
    [[nodiscard]] VideoFrame turn(const VideoFrame& frame) const;

    int m_width;
    int m_height;
    int m_quarterTurns;
    ColorTags m_assumed;
    Scaling m_scaling;
    ColorTags m_target;
    bool m_hasTarget = false;
    FramePool m_pool; ///< Of the size before turning.
    FramePool m_turnedPool;
    SwsContext* m_scaler = nullptr;
};

} // namespace kelmo
