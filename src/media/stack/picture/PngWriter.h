#pragma once

#include "media/stack/picture/VideoFrame.h"
#include "platform/Error.h"

#include <QByteArray>

namespace kelmo {

/// The picture, scaled to `width` by `height` pixels, as a PNG file in sRGB: finely scaled, exactly rounded, quickly
/// packed. Blocks for some tens of milliseconds; any thread.
[[nodiscard]] Result<QByteArray> pngOf(const VideoFrame& frame, int width, int height);

} // namespace kelmo
