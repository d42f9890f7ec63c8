#include "media/stack/encode/AudioEncoder.h"

#include "media/stack/core/AvHandles.h"
#include "media/stack/decode/AudioTrackReader.h"

extern "C" {
#include <libavutil/opt.h>
}

namespace kelmo {

namespace {

const QString codecName = QStringLiteral("AAC");

} // namespace

AudioEncoder::AudioEncoder()
    : m_context(nullptr, [](AVCodecContext* context) { AvFree()(context); })
{
}

AudioEncoder::~AudioEncoder() = default;

Result<std::unique_ptr<AudioEncoder>> AudioEncoder::open()
{
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    std::unique_ptr<AudioEncoder> encoder(new AudioEncoder);
    encoder->m_context.reset(codec ? avcodec_alloc_context3(codec) : nullptr);
    AVCodecContext* context = encoder->m_context.get();
    if (!context)
        return avFailure(AVERROR_ENCODER_NOT_FOUND, QStringLiteral("Can’t encode"), codecName);
    context->sample_fmt = AV_SAMPLE_FMT_FLTP;
    context->sample_rate = AudioTrackReader::rate;
    context->bit_rate = bitRate;
    context->time_base = {1, AudioTrackReader::rate};
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    av_channel_layout_default(&context->ch_layout, AudioTrackReader::channels);
    // At this rate the thorough search takes six times as long and finds little.
    av_opt_set(context->priv_data, "aac_coder", "fast", 0);
    if (const int code = avcodec_open2(context, codec, nullptr); code < 0)
        return avFailure(code, QStringLiteral("Can’t encode"), codecName);
    return encoder;
}

int AudioEncoder::frameSize() const { return m_context->frame_size; }

Result<void> AudioEncoder::encode(const float* interleaved, int count, const PacketSink& sink)
{
    const AvHandle<AVFrame> frame = makeAvFrame();
    frame->format = AV_SAMPLE_FMT_FLTP;
    frame->nb_samples = count;
    frame->sample_rate = AudioTrackReader::rate;
    av_channel_layout_copy(&frame->ch_layout, &m_context->ch_layout);
    if (const int code = av_frame_get_buffer(frame.get(), 0); code < 0)
        return avFailure(code, QStringLiteral("Can’t encode"), codecName);
    auto* left = reinterpret_cast<float*>(frame->data[0]);
    auto* right = reinterpret_cast<float*>(frame->data[1]);
    for (int i = 0; i < count; ++i) {
        left[i] = interleaved[2 * i];
        right[i] = interleaved[2 * i + 1];
    }
    frame->pts = m_position;
    m_position += count;
    if (const int code = avcodec_send_frame(m_context.get(), frame.get()); code < 0)
        return avFailure(code, QStringLiteral("Can’t encode"), codecName);
    return drainEncoder(*m_context, codecName, sink);
}

Result<void> AudioEncoder::finish(const PacketSink& sink)
{
    avcodec_send_frame(m_context.get(), nullptr);
    return drainEncoder(*m_context, codecName, sink);
}

} // namespace kelmo
