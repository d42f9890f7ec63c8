#pragma once

// A number drawn into a picture so that a test can tell which frame it is looking at, after any amount of encoding and
// scaling. It takes the top left of the picture (two fifths of the width, a third of the height) and scales with it.
// Plain functions, any thread.

#include <QImage>

#include <cstdint>
#include <optional>

namespace kelmo {

/// Numbers from 0 to this one can be drawn.
constexpr int kHighestFrameCode = (1 << 24) - 1;

/// Draws `number` in black and white. The rest of the picture stays as it is.
void drawFrameCode(QImage& picture, int number);

/// The same in an 8-bit luma plane (limited range black and white). The chroma there is the caller's, 128 for grey.
void drawFrameCode(uint8_t* luma, int stride, int width, int height, int number);

/// The number in a picture, or nothing when there is none or it is too damaged to be sure.
[[nodiscard]] std::optional<int> readFrameCode(const QImage& picture);
[[nodiscard]] std::optional<int> readFrameCode(const uint8_t* luma, int stride, int width, int height);

} // namespace kelmo
