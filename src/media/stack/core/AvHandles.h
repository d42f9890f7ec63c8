#pragma once

// Owning handles for libav's objects, and the one place that turns a libav code into an Error. Internal to the media
// stack: no other folder includes this header.

#include "platform/Error.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include <memory>

namespace kelmo {

struct AvFree {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVCodecParameters* parameters) const { avcodec_parameters_free(&parameters); }
    void operator()(SwsContext* context) const { sws_freeContext(context); }
    void operator()(SwrContext* context) const { swr_free(&context); }
    void operator()(AVBufferRef* buffer) const { av_buffer_unref(&buffer); }
    void operator()(AVFormatContext* input) const { avformat_close_input(&input); }
};

template <class T> using AvHandle = std::unique_ptr<T, AvFree>;

[[nodiscard]] inline AvHandle<AVFrame> makeAvFrame() { return AvHandle<AVFrame>(av_frame_alloc()); }
[[nodiscard]] inline AvHandle<AVPacket> makeAvPacket() { return AvHandle<AVPacket>(av_packet_alloc()); }

/// An error of domain "Media" with libav's code, reading "<operation> <subject>: <why>" in words of our own.
[[nodiscard]] Error avError(int code, const QString& operation, const QString& subject);
[[nodiscard]] inline tl::unexpected<Error> avFailure(int code, const QString& operation, const QString& subject)
{
    return tl::unexpected<Error>(avError(code, operation, subject));
}

/// Routes libav's own messages to where they can be read without flooding: errors only, each text once in a while.
void quietAvLog();

} // namespace kelmo
