#pragma once

#include <QByteArray>

#include <cstdint>

namespace kelmo {

/// Packs sRGB pixels into a PNG file. Values; any thread.
namespace PngPacker {

/// One byte for each pixel and channel; `stride` bytes lie between the beginnings of two rows.
struct Planes {
    const uint8_t* red;
    const uint8_t* green;
    const uint8_t* blue;
    int stride;
};

/// `width` and `height` are at least 1. Blocks for a few milliseconds. Empty when the picture cannot be packed.
[[nodiscard]] QByteArray pack(const Planes& planes, int width, int height);

} // namespace PngPacker

} // namespace kelmo
