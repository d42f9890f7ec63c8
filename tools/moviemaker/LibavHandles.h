#pragma once

// Owners of libav's objects, so that an early return frees what was made before it.

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

namespace kelmo {

struct LibavFree {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};

template <class T> using LibavHandle = std::unique_ptr<T, LibavFree>;

} // namespace kelmo
