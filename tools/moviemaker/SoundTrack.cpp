#include "tools/moviemaker/SoundTrack.h"

#include "tools/moviemaker/LibavError.h"

#include <cstring>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/samplefmt.h>
}

namespace kelmo {

namespace {

constexpr int kFrameOfPcm = 1024;

int16_t toInt16(float sample)
{
    return static_cast<int16_t>(std::clamp(std::lround(sample * 32768.0F), -32768L, 32767L));
}

int32_t toInt32(float sample)
{
    return static_cast<int32_t>(std::clamp(sample * 2147483648.0, -2147483648.0, 2147483647.0));
}

/// Writes sample `index` (of its plane, or of the interleaved row) in the frame's own format.
void store(uint8_t* plane, AVSampleFormat format, int index, float sample)
{
    switch (av_get_packed_sample_fmt(format)) {
    case AV_SAMPLE_FMT_S16:
        reinterpret_cast<int16_t*>(plane)[index] = toInt16(sample);
        return;
    case AV_SAMPLE_FMT_S32:
        reinterpret_cast<int32_t*>(plane)[index] = toInt32(sample);
        return;
    default:
        reinterpret_cast<float*>(plane)[index] = sample;
    }
}

bool canStore(AVSampleFormat format)
{
    const AVSampleFormat packed = av_get_packed_sample_fmt(format);
    return packed == AV_SAMPLE_FMT_S16 || packed == AV_SAMPLE_FMT_S32 || packed == AV_SAMPLE_FMT_FLT;
}

} // namespace

SoundTrack::SoundTrack(const AudioSpec& spec, Sink sink)
    : m_spec(spec)
    , m_sink(std::move(sink))
    , m_nextPts(std::llround(spec.startOffsetMs * spec.sampleRate / 1000))
{
}

Result<std::unique_ptr<SoundTrack>> SoundTrack::open(const AudioSpec& spec, bool globalHeader, Sink sink)
{
    std::unique_ptr<SoundTrack> encoder(new SoundTrack(spec, std::move(sink)));
    if (auto opened = encoder->openCodec(globalHeader); !opened)
        return tl::unexpected(opened.error());
    return encoder;
}

Result<void> SoundTrack::openCodec(bool globalHeader)
{
    const AVCodec* codec = avcodec_find_encoder_by_name(m_spec.codec.toUtf8().constData());
    if (!codec || !codec->sample_fmts || !canStore(codec->sample_fmts[0]))
        return libavFailure(AVERROR_ENCODER_NOT_FOUND, m_spec.codec);
    m_context.reset(avcodec_alloc_context3(codec));
    m_context->sample_fmt = codec->sample_fmts[0];
    m_context->sample_rate = m_spec.sampleRate;
    m_context->time_base = {1, m_spec.sampleRate};
    av_channel_layout_default(&m_context->ch_layout, m_spec.channels);
    m_context->bit_rate = m_spec.bitRate;
    if (globalHeader)
        m_context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    LibavOptions options(m_spec.codecOptions);
    if (const int code = avcodec_open2(m_context.get(), codec, options.address()); code < 0)
        return libavFailure(code, QStringLiteral("opening ") + m_spec.codec);
    return options.leftover(m_spec.codec);
}

Result<void> SoundTrack::add(const float* interleaved, int frames)
{
    m_waiting.insert(m_waiting.end(), interleaved, interleaved + static_cast<ptrdiff_t>(frames) * m_spec.channels);
    return encodeWhole(false);
}

Result<void> SoundTrack::encodeWhole(bool last)
{
    const size_t channels = static_cast<size_t>(m_spec.channels);
    const size_t step = static_cast<size_t>(m_context->frame_size > 0 ? m_context->frame_size : kFrameOfPcm) * channels;
    size_t done = 0;
    while (m_waiting.size() - done >= step || (last && m_waiting.size() > done)) {
        const size_t count = std::min(step, m_waiting.size() - done);
        if (auto encoded = encode(m_waiting.data() + done, static_cast<int>(count / channels)); !encoded)
            return encoded;
        done += count;
    }
    m_waiting.erase(m_waiting.begin(), m_waiting.begin() + static_cast<ptrdiff_t>(done));
    return {};
}

Result<void> SoundTrack::encode(const float* interleaved, int frames)
{
    LibavHandle<AVFrame> frame(av_frame_alloc());
    frame->format = m_context->sample_fmt;
    frame->sample_rate = m_spec.sampleRate;
    frame->nb_samples = frames;
    av_channel_layout_copy(&frame->ch_layout, &m_context->ch_layout);
    if (const int code = av_frame_get_buffer(frame.get(), 0); code < 0)
        return libavFailure(code, QStringLiteral("allocating sound"));
    const bool planar = av_sample_fmt_is_planar(m_context->sample_fmt) == 1;
    for (int index = 0; index < frames * m_spec.channels; ++index) {
        const int channel = index % m_spec.channels;
        uint8_t* plane = frame->extended_data[planar ? channel : 0];
        store(plane, m_context->sample_fmt, planar ? index / m_spec.channels : index, interleaved[index]);
    }
    frame->pts = m_nextPts;
    m_nextPts += frames;
    if (const int code = avcodec_send_frame(m_context.get(), frame.get()); code < 0)
        return libavFailure(code, QStringLiteral("encoding sound"));
    return drain();
}

Result<void> SoundTrack::finish()
{
    if (auto encoded = encodeWhole(true); !encoded)
        return encoded;
    if (const int code = avcodec_send_frame(m_context.get(), nullptr); code < 0)
        return libavFailure(code, QStringLiteral("ending the sound"));
    return drain();
}

Result<void> SoundTrack::drain()
{
    for (;;) {
        LibavHandle<AVPacket> packet(av_packet_alloc());
        const int code = avcodec_receive_packet(m_context.get(), packet.get());
        if (code == AVERROR(EAGAIN) || code == AVERROR_EOF)
            return {};
        if (code < 0)
            return libavFailure(code, QStringLiteral("encoding sound"));
        if (auto delivered = m_sink(*packet); !delivered)
            return delivered;
    }
}

} // namespace kelmo
