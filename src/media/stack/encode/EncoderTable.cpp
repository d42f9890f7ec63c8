#include "media/stack/encode/EncoderTable.h"

extern "C" {
#include <libavutil/hwcontext.h>
#include <libavutil/opt.h>
}

namespace kelmo {

namespace {

using Input = EncoderChoice::Input;

// Hardware first, in the order of how well its drivers fare; each codec's software encoder closes its list.
constexpr EncoderChoice choices[] = {
    {VideoCodec::H264, "h264_nvenc", true, Input::Memory},
    {VideoCodec::H264, "h264_qsv", true, Input::Nv12},
    {VideoCodec::H264, "h264_vaapi", true, Input::VaapiSurface},
    {VideoCodec::H264, "libx264", false, Input::Memory},
    {VideoCodec::Hevc, "hevc_nvenc", true, Input::Memory},
    {VideoCodec::Hevc, "hevc_qsv", true, Input::Nv12},
    {VideoCodec::Hevc, "hevc_vaapi", true, Input::VaapiSurface},
    {VideoCodec::Hevc, "libx265", false, Input::Memory},
};

using Options = std::vector<std::pair<const char*, QByteArray>>;

Options softwareOptions(const VideoEncoding& encoding)
{
    const bool best = encoding.aim == VideoEncoding::Aim::Quality;
    const QByteArray keyFrames = QByteArray::number(2 * encoding.fps);
    if (encoding.codec == VideoCodec::H264) {
        if (best)
            return {{"preset", "slow"}, {"crf", "16"}};
        return {{"preset", "superfast"}};
    }
    // x265 writes to standard error on its own, and refers across key frames unless told otherwise.
    const QByteArray closed = "open-gop=0:log-level=error:keyint=" + keyFrames;
    // Unless forced, it only makes a key frame of the frame that should be one where the last is frames enough ago.
    if (best)
        return {{"preset", "medium"}, {"crf", "17"}, {"forced-idr", "1"}, {"x265-params", closed}};
    // Motion taken from the picture before, and a second merge candidate, bring hundredths of a decibel for a tenth of
    // the time; looking further ahead brings more.
    return {{"preset", "ultrafast"}, {"forced-idr", "1"},
        {"x265-params", closed + ":rd=1:rc-lookahead=30:no-temporal-mvp=1:max-merge=1"}};
}

Options hardwareOptions(const EncoderChoice& choice, const VideoEncoding& encoding)
{
    const bool best = encoding.aim == VideoEncoding::Aim::Quality;
    const QByteArray name(choice.name);
    if (name.endsWith("nvenc"))
        return {{"preset", best ? "p7" : "p4"}, {"rc", "vbr"}, {"forced-idr", "1"}};
    if (name.endsWith("qsv"))
        return {{"preset", best ? "veryslow" : "veryfast"}, {"forced_idr", "1"}};
    return {{"rc_mode", "VBR"}};
}

/// Surfaces on the first device that has any; VA-API's encoders take nothing else.
int attachVaapi(AVCodecContext& context)
{
    AVBufferRef* device = nullptr;
    int code = av_hwdevice_ctx_create(&device, AV_HWDEVICE_TYPE_VAAPI, nullptr, nullptr, 0);
    if (code < 0)
        return code;
    AvHandle<AVBufferRef> surfaces(av_hwframe_ctx_alloc(device));
    av_buffer_unref(&device);
    if (!surfaces)
        return AVERROR(ENOMEM);
    auto* frames = reinterpret_cast<AVHWFramesContext*>(surfaces->data);
    frames->format = AV_PIX_FMT_VAAPI;
    frames->sw_format = AV_PIX_FMT_NV12;
    frames->width = context.width;
    frames->height = context.height;
    frames->initial_pool_size = 16;
    code = av_hwframe_ctx_init(surfaces.get());
    if (code >= 0)
        context.hw_frames_ctx = surfaces.release();
    return code;
}

void limitRate(AVCodecContext& context, const EncoderChoice& choice, const VideoEncoding& encoding)
{
    const int64_t rate = encoding.aim == VideoEncoding::Aim::Speed
        ? encoding.bitRate
        : int64_t(encoding.width) * encoding.height * encoding.fps / 3;
    context.bit_rate = rate;
    // The cap only keeps single seconds from running away; the average is what was asked for. x265 keeps to a cap by
    // watching over every row, for five to fourteen hundredths of its time.
    if (encoding.codec == VideoCodec::Hevc && !choice.hardware)
        return;
    context.rc_max_rate = 2 * rate;
    context.rc_buffer_size = int(std::min<int64_t>(4 * rate, INT32_MAX));
}

void describe(AVCodecContext& context, const EncoderChoice& choice, const VideoEncoding& encoding)
{
    context.width = encoding.width;
    context.height = encoding.height;
    context.sample_aspect_ratio = {1, 1};
    context.time_base = {int(VideoEncoder::timeBase.num), int(VideoEncoder::timeBase.den)};
    context.framerate = {encoding.fps, 1};
    context.gop_size = 2 * encoding.fps;
    context.pix_fmt = choice.input == Input::Memory ? AV_PIX_FMT_YUV420P
        : choice.input == Input::Nv12               ? AV_PIX_FMT_NV12
                                                    : AV_PIX_FMT_VAAPI;
    context.color_primaries = AVColorPrimaries(encoding.color.primaries);
    context.color_trc = AVColorTransferCharacteristic(encoding.color.transfer);
    context.colorspace = AVColorSpace(encoding.color.matrix);
    context.color_range = encoding.color.fullRange ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    context.chroma_sample_location = AVCHROMA_LOC_LEFT;
    context.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    // On a screen, where most stands still, B-frames cost a fifth of the time and look worse at the same rate.
    if (encoding.aim == VideoEncoding::Aim::Speed)
        context.max_b_frames = 0;
    if (encoding.aim == VideoEncoding::Aim::Speed || choice.hardware)
        limitRate(context, choice, encoding);
}

} // namespace

std::vector<EncoderChoice> encodersFor(VideoCodec codec)
{
    std::vector<EncoderChoice> found;
    for (const EncoderChoice& choice : choices) {
        if (choice.codec == codec)
            found.push_back(choice);
    }
    return found;
}

Result<AvHandle<AVCodecContext>> openEncoder(const EncoderChoice& choice, const VideoEncoding& encoding)
{
    const QString name = QString::fromLatin1(choice.name);
    const AVCodec* codec = avcodec_find_encoder_by_name(choice.name);
    if (!codec)
        return failure(QStringLiteral("Media"), AVERROR_ENCODER_NOT_FOUND, name % QStringLiteral(" is not installed"));
    AvHandle<AVCodecContext> context(avcodec_alloc_context3(codec));
    if (!context)
        return avFailure(AVERROR(ENOMEM), QStringLiteral("Can’t open"), name);
    describe(*context, choice, encoding);
    if (choice.input == Input::VaapiSurface) {
        if (const int code = attachVaapi(*context); code < 0)
            return avFailure(code, QStringLiteral("Can’t open"), name);
    }
    const Options options = choice.hardware ? hardwareOptions(choice, encoding) : softwareOptions(encoding);
    for (const auto& [key, value] : options) {
        if (const int code = av_opt_set(context->priv_data, key, value.constData(), 0); code < 0)
            return avFailure(code, QStringLiteral("Can’t set %1 of").arg(QLatin1String(key)), name);
    }
    if (const int code = avcodec_open2(context.get(), codec, nullptr); code < 0)
        return avFailure(code, QStringLiteral("Can’t open"), name);
    return context;
}

} // namespace kelmo
