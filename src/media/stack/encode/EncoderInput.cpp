#include "media/stack/encode/EncoderInput.h"

namespace kelmo {

namespace {

/// A frame that the encoder may keep and that tells it nothing but the picture: what a decoder left on it (frame
/// types, captions) would otherwise steer the encoder.
AvHandle<AVFrame> plainReference(const VideoFrame& frame)
{
    AvHandle<AVFrame> reference = makeAvFrame();
    if (!reference || av_frame_ref(reference.get(), frame.av()) < 0)
        return nullptr;
    while (reference->nb_side_data > 0)
        av_frame_remove_side_data(reference.get(), reference->side_data[0]->type);
    reference->pict_type = AV_PICTURE_TYPE_NONE;
    reference->opaque = nullptr;
#if LIBAVCODEC_VERSION_MAJOR < 60
    // An encoder makes a copy of this mark for every picture, and loses those still inside when it is given up.
    reference->reordered_opaque = 0;
#endif
    reference->format = AV_PIX_FMT_YUV420P;
    return reference;
}

AvHandle<AVFrame> interleaved(const AVFrame& planar)
{
    AvHandle<AVFrame> frame = makeAvFrame();
    frame->format = AV_PIX_FMT_NV12;
    frame->width = planar.width;
    frame->height = planar.height;
    if (av_frame_get_buffer(frame.get(), 0) < 0)
        return nullptr;
    for (int y = 0; y < planar.height; ++y)
        std::copy_n(planar.data[0] + ptrdiff_t(y) * planar.linesize[0], planar.width,
            frame->data[0] + ptrdiff_t(y) * frame->linesize[0]);
    for (int y = 0; y < planar.height / 2; ++y) {
        uint8_t* out = frame->data[1] + ptrdiff_t(y) * frame->linesize[1];
        const uint8_t* blue = planar.data[1] + ptrdiff_t(y) * planar.linesize[1];
        const uint8_t* red = planar.data[2] + ptrdiff_t(y) * planar.linesize[2];
        for (int x = 0; x < planar.width / 2; ++x) {
            *out++ = blue[x];
            *out++ = red[x];
        }
    }
    return frame;
}

AvHandle<AVFrame> onDevice(const AVFrame& frame, AVBufferRef* surfaces)
{
    AvHandle<AVFrame> surface = makeAvFrame();
    if (av_hwframe_get_buffer(surfaces, surface.get(), 0) < 0 || av_hwframe_transfer_data(surface.get(), &frame, 0) < 0)
        return nullptr;
    return surface;
}

} // namespace

AvHandle<AVFrame> encoderInput(const VideoFrame& frame, const AVCodecContext& context)
{
    AvHandle<AVFrame> input = plainReference(frame);
    if (!input || context.pix_fmt == AV_PIX_FMT_YUV420P)
        return input;
    input = interleaved(*input);
    if (!input || context.pix_fmt == AV_PIX_FMT_NV12)
        return input;
    return onDevice(*input, context.hw_frames_ctx);
}

} // namespace kelmo
