#pragma once

#include "media/stack/core/AvHandles.h"
#include "media/stack/encode/VideoEncoder.h"

#include <vector>

namespace kelmo {

/// One encoder that may serve: its name in libav, and how it takes pictures. Internal to the media stack.
struct EncoderChoice {
    enum class Input {
        Memory, ///< Plain 4:2:0 pictures.
        Nv12, ///< 4:2:0 with the chroma interleaved.
        VaapiSurface, ///< NV12 copied to the device first.
    };

    VideoCodec codec;
    const char* name;
    bool hardware;
    Input input;
};

/// The encoders for a codec, in the order in which they are tried.
[[nodiscard]] std::vector<EncoderChoice> encodersFor(VideoCodec codec);

/// Opens one of them for an encoding. Fails with libav's reason.
[[nodiscard]] Result<AvHandle<AVCodecContext>> openEncoder(const EncoderChoice& choice, const VideoEncoding& encoding);

} // namespace kelmo
