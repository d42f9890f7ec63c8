#pragma once

#include <cstdint>

namespace kelmo {

/// Writes a plane of bytes turned clockwise by `quarterTurns` (1 to 3). `width` and `height` are the target's.
void turnPlane(const uint8_t* source, int sourceStride, uint8_t* target, int targetStride, int width, int height,
    int quarterTurns);

} // namespace kelmo
