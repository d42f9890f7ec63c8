#include "media/stack/picture/PngWriter.h"

#include "media/stack/picture/PixelColors.h"
#include "media/stack/picture/PngPacker.h"

extern "C" {
#include <libavutil/opt.h>
}

#include <thread>

namespace kelmo {

namespace {

const QString operation = QStringLiteral("Can’t make");
const QString subject = QStringLiteral("a PNG picture");

/// A scaler that shares the rows among the cores. To planes, because for those it is both exact and several times
/// faster: to packed pixels it takes the colours of the nearest row.
AvHandle<SwsContext> rgbScaler(const VideoFrame& frame, int width, int height)
{
    AvHandle<SwsContext> scaler(sws_alloc_context());
    if (!scaler)
        return nullptr;
    const auto set = [&](const char* option, int64_t value) { av_opt_set_int(scaler.get(), option, value, 0); };
    set("srcw", frame.width());
    set("srch", frame.height());
    set("src_format", plainFormat(frame.av()->format));
    set("dstw", width);
    set("dsth", height);
    set("dst_format", AV_PIX_FMT_GBRP);
    // Without scaling only colours are spread over their pixels, for which two neighbours are enough.
    const bool sameSize = width == frame.width() && height == frame.height();
    set("sws_flags",
        (sameSize ? SWS_BILINEAR : SWS_BICUBIC) | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP);
    set("threads", std::max(1U, std::thread::hardware_concurrency()));
    placeScalerColors(*scaler, frame);
    if (sws_init_context(scaler.get(), nullptr, nullptr) < 0)
        return nullptr;
    setScalerColors(scaler.get(), frame.color().completed(frame.height()), false, {1, 13, 1, true}, true);
    return scaler;
}

AvHandle<AVFrame> asRgb(const VideoFrame& frame, int width, int height)
{
    const AvHandle<SwsContext> scaler = rgbScaler(frame, width, height);
    AvHandle<AVFrame> rgb = makeAvFrame();
    AvHandle<AVFrame> source(av_frame_clone(frame.av()));
    if (!scaler || !rgb || !source)
        return nullptr;
    source->format = plainFormat(source->format);
    rgb->format = AV_PIX_FMT_GBRP;
    rgb->width = width;
    rgb->height = height;
    if (sws_scale_frame(scaler.get(), rgb.get(), source.get()) < 0)
        return nullptr;
    return rgb;
}

} // namespace

Result<QByteArray> pngOf(const VideoFrame& frame, int width, int height)
{
    const AvHandle<AVFrame> rgb = asRgb(frame, width, height);
    if (!rgb)
        return avFailure(AVERROR(ENOMEM), operation, subject);
    const PngPacker::Planes planes{rgb->data[2], rgb->data[0], rgb->data[1], rgb->linesize[0]};
    const QByteArray png = PngPacker::pack(planes, width, height);
    if (png.isEmpty())
        return avFailure(AVERROR(ENOMEM), operation, subject);
    return png;
}

} // namespace kelmo
