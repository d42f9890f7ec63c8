#pragma once

#include "media/stack/core/AvHandles.h"
#include "media/stack/picture/VideoFrame.h"

namespace kelmo {

/// libav's old "J" formats are the plain ones with full range, which the colour tags carry already.
[[nodiscard]] AVPixelFormat plainFormat(int format);

[[nodiscard]] bool isRgb(AVPixelFormat format);

/// Scaler flags that stay within the rows of an RGB image `width` wide when nothing is scaled: the quick conversion
/// writes whole blocks of pixels, past the end of the last row.
[[nodiscard]] int flagsWithinRows(int flags, int width);

/// Tells a scaler that is not set up yet where a colour sample of the picture lies among its four pixels: left of their
/// middle unless the movie says otherwise.
void placeScalerColors(SwsContext& scaler, const VideoFrame& frame);

/// Tells a scaler what the numbers on both sides mean; it does not read that from the pictures.
void setScalerColors(SwsContext* scaler, ColorTags from, bool fromRgb, ColorTags to, bool toRgb);

} // namespace kelmo
