#include "media/stack/encode/VideoEncoder.h"

#include "media/stack/encode/EncoderInput.h"
#include "media/stack/encode/EncoderProbe.h"
#include "media/stack/encode/EncoderTable.h"

namespace kelmo {

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
            if (const Result<void> proven = EncoderProbe::prove(choice, encoding); !proven) {
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
    const AvHandle<AVFrame> input = encoderInput(frame, *m_context);
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
