#include "media/stack/picture/PictureTurning.h"

#include <cstddef>

namespace kelmo {

void turnPlane(
    const uint8_t* source, int sourceStride, uint8_t* target, int targetStride, int width, int height, int quarterTurns)
{
    const auto at = [&](int x, int y) { return source[ptrdiff_t(y) * sourceStride + x]; };
    for (int y = 0; y < height; ++y) {
        uint8_t* out = target + ptrdiff_t(y) * targetStride;
        for (int x = 0; x < width; ++x) {
            if (quarterTurns == 1)
                out[x] = at(y, width - 1 - x);
            else if (quarterTurns == 2)
                out[x] = at(width - 1 - x, height - 1 - y);
            else
                out[x] = at(height - 1 - y, x);
        }
    }
}

} // namespace kelmo
