#include "media/stack/FrameConverter.h"

#include "media/stack/AvHandles.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace kelmo {

namespace {

int flagsOf(Scaling scaling)
{
    return scaling == Scaling::Fine ? SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP
                                    : SWS_BILINEAR;
}

/// libav's old "J" formats are the plain ones with full range, which the colour tags carry already.
AVPixelFormat plainFormat(int format)
{
    switch (format) {
    case AV_PIX_FMT_YUVJ420P:
        return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
        return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
        return AV_PIX_FMT_YUV444P;
    default:
        return AVPixelFormat(format);
    }
}

bool isRgb(int format)
{
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(AVPixelFormat(format));
    return description && (description->flags & AV_PIX_FMT_FLAG_RGB);
}

void setColors(SwsContext* scaler, ColorTags from, bool fromRgb, ColorTags to, bool toRgb)
{
    constexpr int unity = 1 << 16;
    sws_setColorspaceDetails(scaler, sws_getCoefficients(from.matrix), fromRgb || from.fullRange,
        sws_getCoefficients(to.matrix), toRgb || to.fullRange, 0, unity, unity);
}

void turnPlane(
    const uint8_t* source, int sourceStride, uint8_t* target, int targetStride, int width, int height, int quarterTurns)
{
    // `width` and `height` are the target's.
    for (int y = 0; y < height; ++y) {
        uint8_t* out = target + ptrdiff_t(y) * targetStride;
        for (int x = 0; x < width; ++x) {
            switch (quarterTurns) {
            case 1:
                out[x] = source[ptrdiff_t(width - 1 - x) * sourceStride + y];
                break;
            case 2:
                out[x] = source[ptrdiff_t(height - 1 - y) * sourceStride + (width - 1 - x)];
                break;
            default:
                out[x] = source[ptrdiff_t(x) * sourceStride + (height - 1 - y)];
            }
        }
    }
}

} // namespace

FrameConverter::FrameConverter(int width, int height, int quarterTurns, ColorTags assumed, Scaling scaling)
    : m_width(quarterTurns % 2 ? height : width)
    , m_height(quarterTurns % 2 ? width : height)
    , m_quarterTurns(quarterTurns)
    , m_assumed(assumed)
    , m_scaling(scaling)
    , m_pool(m_width, m_height)
    , m_turnedPool(width, height)
{
}

FrameConverter::~FrameConverter() { sws_freeContext(m_scaler); }

void FrameConverter::setTargetColor(ColorTags color)
{
    m_target = color;
    m_hasTarget = true;
}

ColorTags FrameConverter::colorOf(const VideoFrame& frame) const
{
    ColorTags color = frame.color();
    if (color.matrix == AVCOL_SPC_UNSPECIFIED)
        color.matrix = m_assumed.matrix;
    if (color.primaries == AVCOL_PRI_UNSPECIFIED)
        color.primaries = m_assumed.primaries;
    if (color.transfer == AVCOL_TRC_UNSPECIFIED)
        color.transfer = m_assumed.transfer;
    if (frame.av()->color_range == AVCOL_RANGE_UNSPECIFIED && !color.fullRange)
        color.fullRange = m_assumed.fullRange;
    return color.completed(frame.height());
}

VideoFrame FrameConverter::convert(const VideoFrame& frame)
{
    const ColorTags from = colorOf(frame);
    const ColorTags to = m_hasTarget ? m_target : from;
    const bool planar = plainFormat(frame.av()->format) == AV_PIX_FMT_YUV420P;
    const bool sized = frame.width() == m_width && frame.height() == m_height;
    const bool colored = from.matrix == to.matrix && from.fullRange == to.fullRange;
    VideoFrame result = planar && sized && colored ? frame : scale(frame, from, to);
    return result && m_quarterTurns ? turn(result) : result;
}

VideoFrame FrameConverter::scale(const VideoFrame& frame, ColorTags from, ColorTags to)
{
    const AVPixelFormat format = plainFormat(frame.av()->format);
    m_scaler = sws_getCachedContext(m_scaler, frame.width(), frame.height(), format, m_width, m_height,
        AV_PIX_FMT_YUV420P, flagsOf(m_scaling), nullptr, nullptr, nullptr);
    AVFrame* scaled = m_scaler ? m_pool.take() : nullptr;
    if (!scaled)
        return {};
    setColors(m_scaler, from, isRgb(format), to, false);
    sws_scale(m_scaler, frame.av()->data, frame.av()->linesize, 0, frame.height(), scaled->data, scaled->linesize);
    scaled->color_primaries = AVColorPrimaries(to.primaries);
    scaled->color_trc = AVColorTransferCharacteristic(to.transfer);
    scaled->colorspace = AVColorSpace(to.matrix);
    scaled->color_range = to.fullRange ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    scaled->chroma_location = frame.av()->chroma_location;
    return VideoFrame(scaled);
}

VideoFrame FrameConverter::turn(const VideoFrame& frame) const
{
    AVFrame* turned = m_turnedPool.take();
    if (!turned)
        return {};
    for (int plane = 0; plane < 3; ++plane) {
        const int shift = plane > 0;
        turnPlane(frame.plane(plane), frame.stride(plane), turned->data[plane], turned->linesize[plane],
            (turned->width + shift) >> shift, (turned->height + shift) >> shift, m_quarterTurns);
    }
    turned->color_primaries = frame.av()->color_primaries;
    turned->color_trc = frame.av()->color_trc;
    turned->colorspace = frame.av()->colorspace;
    turned->color_range = frame.color().fullRange ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    return VideoFrame(turned);
}

bool toRgb32(const VideoFrame& frame, uint8_t* pixels, int bytesPerLine, int width, int height, Scaling scaling)
{
    const AVPixelFormat format = plainFormat(frame.av()->format);
    const std::unique_ptr<SwsContext, AvFree> scaler(sws_getContext(frame.width(), frame.height(), format, width,
        height, AV_PIX_FMT_BGRA, flagsOf(scaling), nullptr, nullptr, nullptr));
    if (!scaler)
        return false;
    const ColorTags from = frame.color().completed(frame.height());
    setColors(scaler.get(), from, false, {1, 13, 1, true}, true);
    uint8_t* planes[4] = {pixels, nullptr, nullptr, nullptr};
    const int strides[4] = {bytesPerLine, 0, 0, 0};
    sws_scale(scaler.get(), frame.av()->data, frame.av()->linesize, 0, frame.height(), planes, strides);
    return true;
}

} // namespace kelmo
