#include "media/stack/VideoEncoder.h"

#include "media/stack/EncoderTable.h"

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
            out[2 * x] = blue[x];
            out[2 * x + 1] = red[x];
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

/// Puts a picture into the form that the encoder takes.
AvHandle<AVFrame> asInput(const VideoFrame& frame, const AVCodecContext& context)
{
    AvHandle<AVFrame> input = plainReference(frame);
    if (!input || context.pix_fmt == AV_PIX_FMT_YUV420P)
        return input;
    input = interleaved(*input);
    if (!input || context.pix_fmt == AV_PIX_FMT_NV12)
        return input;
    return onDevice(*input, context.hw_frames_ctx);
}

/// Drivers that open an encoder and then fail at the first frame are common, so hardware has to show a packet.
Result<void> prove(const EncoderChoice& choice, const VideoEncoding& encoding)
{
    Result<AvHandle<AVCodecContext>> context = openEncoder(choice, encoding);
    if (!context)
        return tl::unexpected(context.error());
    const QString name = QString::fromLatin1(choice.name);
    const VideoFrame black = FramePool(encoding.width, encoding.height).black(encoding.color);
    for (int i = 0; i < 3; ++i) {
        const AvHandle<AVFrame> input = asInput(black, **context);
        if (!input)
            return avFailure(AVERROR_EXTERNAL, QStringLiteral("Can’t hand a picture to"), name);
        input->pts = i * VideoEncoder::timeBase.den / encoding.fps;
        if (const int code = avcodec_send_frame(context->get(), input.get()); code < 0)
            return avFailure(code, QStringLiteral("Can’t encode with"), name);
    }
    avcodec_send_frame(context->get(), nullptr);
    const AvHandle<AVPacket> packet = makeAvPacket();
    if (const int code = avcodec_receive_packet(context->get(), packet.get()); code < 0)
        return avFailure(code, QStringLiteral("Can’t encode with"), name);
    return {};
}

} // namespace

VideoEncoder::VideoEncoder()
    : m_context(nullptr, [](AVCodecContext* context) { AvFree()(context); })
{
}

VideoEncoder::~VideoEncoder() = default;

Result<std::unique_ptr<VideoEncoder>> VideoEncoder::open(const VideoEncoding& encoding)
{
    quietAvLog();
    std::unique_ptr<VideoEncoder> encoder(new VideoEncoder);
    for (const EncoderChoice& choice : encodersFor(encoding.codec)) {
        if (choice.hardware) {
            if (const Result<void> proven = prove(choice, encoding); !proven) {
                encoder->m_refusals.append(userText(proven.error()));
                continue;
            }
        }
        Result<AvHandle<AVCodecContext>> context = openEncoder(choice, encoding);
        if (!context) {
            encoder->m_refusals.append(userText(context.error()));
            continue;
        }
        encoder->m_context.reset(context->release());
        encoder->m_name = QString::fromLatin1(choice.name);
        return encoder;
    }
    return failure(QStringLiteral("Media"), AVERROR_ENCODER_NOT_FOUND,
        QStringLiteral("No video encoder works here: ") % encoder->m_refusals.join(QStringLiteral("; ")));
}

Result<void> VideoEncoder::encode(const VideoFrame& frame, int64_t pts, bool key, const PacketSink& sink)
{
    const AvHandle<AVFrame> input = asInput(frame, *m_context);
    if (!input)
        return avFailure(AVERROR(ENOMEM), QStringLiteral("Can’t encode with"), m_name);
    input->pts = pts;
    if (key)
        input->pict_type = AV_PICTURE_TYPE_I;
    if (const int code = avcodec_send_frame(m_context.get(), input.get()); code < 0)
        return avFailure(code, QStringLiteral("Can’t encode with"), m_name);
    return drainEncoder(*m_context, m_name, sink);
}

Result<void> VideoEncoder::finish(const PacketSink& sink)
{
    avcodec_send_frame(m_context.get(), nullptr);
    return drainEncoder(*m_context, m_name, sink);
}

} // namespace kelmo
