#pragma once

#include <QByteArray>

#include <cstdint>

namespace kelmo {

/// Packs sRGB pixels into a PNG file on every core at once. Values; any thread.
namespace PngPacker {

/// `rgb` holds `height` rows of `width` three-byte pixels, `stride` bytes apart; both are at least 1. Blocks for some
/// tens of milliseconds. Empty when memory runs out.
[[nodiscard]] QByteArray pack(const uint8_t* rgb, int width, int height, int stride);

} // namespace PngPacker

} // namespace kelmo
