#pragma once

#include "media/stack/core/AvHandles.h"
#include "media/stack/picture/VideoFrame.h"

namespace kelmo {

/// A picture in the form that an encoder takes: plain, interleaved, or copied to the device. Null when memory, there or
/// here, runs out. Internal to the media stack.
[[nodiscard]] AvHandle<AVFrame> encoderInput(const VideoFrame& frame, const AVCodecContext& context);

} // namespace kelmo
