#include "tools/moviemaker/PictureTrack.h"

#include "tools/moviemaker/LibavError.h"

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

namespace kelmo {

namespace {

bool isH264(const VideoSpec& spec) { return spec.codec == QLatin1String("h264"); }
bool isHevc(const VideoSpec& spec) { return spec.codec == QLatin1String("hevc"); }

QString encoderName(const VideoSpec& spec)
{
    if (isH264(spec))
        return QStringLiteral("libx264");
    return isHevc(spec) ? QStringLiteral("libx265") : spec.codec;
}

/// The value behind one of libav's names, or `unspecified` for an empty name.
Result<int> tagValue(const QString& name, int (*fromName)(const char*), int unspecified)
{
    if (name.isEmpty())
        return unspecified;
    const int value = fromName(name.toUtf8().constData());
    if (value < 0)
        return libavFailure(value, QStringLiteral("colour tag ") + name);
    return value;
}

Result<void> setColour(AVCodecContext& context, const ColourTags& tags)
{
    const auto primaries = tagValue(tags.primaries, av_color_primaries_from_name, AVCOL_PRI_UNSPECIFIED);
    const auto transfer = tagValue(tags.transfer, av_color_transfer_from_name, AVCOL_TRC_UNSPECIFIED);
    const auto matrix = tagValue(tags.matrix, av_color_space_from_name, AVCOL_SPC_UNSPECIFIED);
    const auto range = tagValue(tags.range, av_color_range_from_name, AVCOL_RANGE_UNSPECIFIED);
    for (const auto* value : {&primaries, &transfer, &matrix, &range}) {
        if (!*value)
            return tl::unexpected(value->error());
    }
    context.color_primaries = static_cast<AVColorPrimaries>(*primaries);
    context.color_trc = static_cast<AVColorTransferCharacteristic>(*transfer);
    context.colorspace = static_cast<AVColorSpace>(*matrix);
    context.color_range = static_cast<AVColorRange>(*range);
    return {};
}

QString joined(const QString& first, const QString& rest)
{
    return rest.isEmpty() ? first : QString(first + u':' + rest);
}

} // namespace

PictureTrack::PictureTrack(const VideoSpec& spec, Sink sink)
    : m_spec(spec)
    , m_sink(std::move(sink))
    , m_held(av_frame_alloc())
{
}

Result<std::unique_ptr<PictureTrack>> PictureTrack::open(const VideoSpec& spec, bool globalHeader, Sink sink)
{
    std::unique_ptr<PictureTrack> encoder(new PictureTrack(spec, std::move(sink)));
    if (auto opened = encoder->openCodec(globalHeader); !opened)
        return tl::unexpected(opened.error());
    if (auto opened = encoder->openConverter(); !opened)
        return tl::unexpected(opened.error());
    return encoder;
}

Result<void> PictureTrack::openCodec(bool globalHeader)
{
    const QString name = encoderName(m_spec);
    const AVCodec* codec = avcodec_find_encoder_by_name(name.toUtf8().constData());
    if (!codec)
        return libavFailure(AVERROR_ENCODER_NOT_FOUND, name);
    m_context.reset(avcodec_alloc_context3(codec));
    m_context->width = m_spec.width;
    m_context->height = m_spec.height;
    m_context->pix_fmt = av_get_pix_fmt(m_spec.pixelFormat.toUtf8().constData());
    m_context->time_base = {m_spec.timeBase.numerator, m_spec.timeBase.denominator};
    m_context->framerate = av_d2q(m_spec.frameRate, 100000);
    m_context->gop_size = m_spec.gopLength;
    m_context->max_b_frames = m_spec.bFrames;
    m_context->bit_rate = m_spec.bitRate;
    m_context->thread_count = m_spec.threads;
    if (globalHeader)
        m_context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if (isHevc(m_spec))
        m_context->codec_tag = MKTAG('h', 'v', 'c', '1');
    if (auto coloured = setColour(*m_context, m_spec.colour); !coloured)
        return coloured;

    LibavOptions options(m_spec.codecOptions);
    applyCodecOptions(options);
    if (const int code = avcodec_open2(m_context.get(), codec, options.address()); code < 0)
        return libavFailure(
            code, QStringLiteral("opening %1 for %2×%3").arg(name).arg(m_spec.width).arg(m_spec.height));
    return options.leftover(name);
}

void PictureTrack::applyCodecOptions(LibavOptions& options) const
{
    if (!isH264(m_spec) && !isHevc(m_spec))
        return;
    options.set("preset", m_spec.preset);
    if (m_spec.bitRate == 0)
        options.set("crf", QString::number(m_spec.crf));
    const QString pyramid = m_spec.bPyramid ? QStringLiteral("1") : QStringLiteral("0");
    const QString open = m_spec.openGop ? QStringLiteral("1") : QStringLiteral("0");
    if (isH264(m_spec)) {
        options.set("x264-params",
            joined(QStringLiteral("b-pyramid=%1:open-gop=%2").arg(m_spec.bPyramid ? "normal" : "none", open),
                m_spec.codecOptions.value(QStringLiteral("x264-params"))));
        return;
    }
    options.set("x265-params",
        joined(QStringLiteral("log-level=error:b-pyramid=%1:open-gop=%2").arg(pyramid, open),
            m_spec.codecOptions.value(QStringLiteral("x265-params"))));
}

Result<void> PictureTrack::openConverter()
{
    m_converter.reset(sws_getContext(m_spec.width, m_spec.height, AV_PIX_FMT_BGRA, m_spec.width, m_spec.height,
        m_context->pix_fmt, SWS_BILINEAR | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
    if (!m_converter)
        return libavFailure(AVERROR(EINVAL), QStringLiteral("converting pictures to ") + m_spec.pixelFormat);
    const int matrix
        = m_context->colorspace == AVCOL_SPC_UNSPECIFIED ? static_cast<int>(AVCOL_SPC_BT709) : m_context->colorspace;
    const bool full
        = m_context->color_range == AVCOL_RANGE_JPEG || m_spec.pixelFormat.startsWith(QLatin1String("yuvj"));
    sws_setColorspaceDetails(m_converter.get(), sws_getCoefficients(SWS_CS_DEFAULT), 1, sws_getCoefficients(matrix),
        full ? 1 : 0, 0, 1 << 16, 1 << 16);
    return {};
}

Result<void> PictureTrack::takeNewFrame()
{
    // The encoder may still refer to the frame before, so every picture gets a buffer of its own.
    m_held.reset(av_frame_alloc());
    m_held->format = m_context->pix_fmt;
    m_held->width = m_spec.width;
    m_held->height = m_spec.height;
    if (const int code = av_frame_get_buffer(m_held.get(), 0); code < 0)
        return libavFailure(code, QStringLiteral("allocating a picture"));
    m_held->color_primaries = m_context->color_primaries;
    m_held->color_trc = m_context->color_trc;
    m_held->colorspace = m_context->colorspace;
    m_held->color_range = m_context->color_range;
    return {};
}

Result<void> PictureTrack::add(const QImage& picture, int64_t pts)
{
    if (picture.width() != m_spec.width || picture.height() != m_spec.height)
        return libavFailure(AVERROR(EINVAL), QStringLiteral("picture of another size than the movie"));
    const QImage pixels = picture.depth() == 32 ? picture : picture.convertToFormat(QImage::Format_RGB32);
    if (auto sent = sendHeld(pts); !sent)
        return sent;
    if (auto taken = takeNewFrame(); !taken)
        return taken;
    const uint8_t* data[] = {pixels.constBits()};
    const int stride[] = {static_cast<int>(pixels.bytesPerLine())};
    sws_scale(m_converter.get(), data, stride, 0, m_spec.height, m_held->data, m_held->linesize);
    m_held->pts = pts;
    m_hasHeld = true;
    return {};
}

Result<void> PictureTrack::add(const std::function<void(const PicturePlanes&)>& paint, int64_t pts)
{
    if (auto sent = sendHeld(pts); !sent)
        return sent;
    if (auto taken = takeNewFrame(); !taken)
        return taken;
    AVFrame& frame = *m_held;
    paint({{frame.data[0], frame.data[1], frame.data[2]}, {frame.linesize[0], frame.linesize[1], frame.linesize[2]},
        m_spec.width, m_spec.height});
    frame.pts = pts;
    m_hasHeld = true;
    return {};
}

Result<void> PictureTrack::addAgain(int64_t pts)
{
    if (!m_hasHeld)
        return libavFailure(AVERROR(EINVAL), QStringLiteral("no picture to repeat"));
    if (auto sent = sendHeld(pts); !sent)
        return sent;
    m_held.reset(av_frame_clone(m_held.get()));
    m_held->pts = pts;
    m_hasHeld = true;
    return {};
}

Result<void> PictureTrack::finish()
{
    if (!m_hasHeld)
        return libavFailure(AVERROR(EINVAL), QStringLiteral("a video track without pictures"));
    const AVRational frame = av_inv_q(m_context->framerate);
    m_lastDuration = m_spec.lastFrameDuration > 0 ? m_spec.lastFrameDuration
                                                  : std::max<int64_t>(1, av_rescale_q(1, frame, m_context->time_base));
    if (auto sent = sendHeld(m_held->pts + m_lastDuration); !sent)
        return sent;
    if (const int code = avcodec_send_frame(m_context.get(), nullptr); code < 0)
        return libavFailure(code, QStringLiteral("ending the video"));
    if (auto drained = drain(); !drained)
        return drained;
    if (!m_lastPacket)
        return {};
    m_lastPacket->duration = m_lastDuration;
    return m_sink(*m_lastPacket);
}

Result<void> PictureTrack::sendHeld(int64_t nextPts)
{
    if (!m_hasHeld)
        return {};
    if (nextPts <= m_held->pts)
        return libavFailure(AVERROR(EINVAL), QStringLiteral("picture at %1 after %2").arg(nextPts).arg(m_held->pts));
    m_durations[m_held->pts] = nextPts - m_held->pts;
    m_hasHeld = false;
    if (const int code = avcodec_send_frame(m_context.get(), m_held.get()); code < 0)
        return libavFailure(code, QStringLiteral("encoding a picture"));
    return drain();
}

Result<void> PictureTrack::drain()
{
    for (;;) {
        LibavHandle<AVPacket> packet(av_packet_alloc());
        const int code = avcodec_receive_packet(m_context.get(), packet.get());
        if (code == AVERROR(EAGAIN) || code == AVERROR_EOF)
            return {};
        if (code < 0)
            return libavFailure(code, QStringLiteral("encoding a picture"));
        if (auto delivered = deliver(std::move(packet)); !delivered)
            return delivered;
    }
}

Result<void> PictureTrack::deliver(LibavHandle<AVPacket> packet)
{
    if (const auto duration = m_durations.find(packet->pts); duration != m_durations.end()) {
        packet->duration = duration->second;
        m_durations.erase(duration);
    }
    std::swap(packet, m_lastPacket);
    return packet ? m_sink(*packet) : Result<void>();
}

} // namespace kelmo
