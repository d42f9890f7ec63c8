#include "media/stack/picture/FrameConverter.h"

#include "media/stack/picture/PictureTurning.h"
#include "media/stack/picture/PixelColors.h"

namespace kelmo {

namespace {

int flagsOf(Scaling scaling)
{
    return scaling == Scaling::Fine ? SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP
                                    : SWS_BILINEAR;
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
    VideoFrame result = planar && sized && colored ? frame.tagged(to) : scale(frame, from, to);
    return result && m_quarterTurns ? turn(result) : result;
}

VideoFrame FrameConverter::scale(const VideoFrame& frame, ColorTags from, ColorTags to)
{
    const AVPixelFormat format = plainFormat(frame.av()->format);
    m_scaler = sws_getCachedContext(m_scaler, frame.width(), frame.height(), format, m_width, m_height,
        AV_PIX_FMT_YUV420P, flagsOf(m_scaling), nullptr, nullptr, nullptr);
    VideoFrame scaled = m_scaler ? m_pool.take() : VideoFrame();
    if (!scaled)
        return {};
    setScalerColors(m_scaler, from, isRgb(format), to, false);
    AVFrame* out = scaled.writable();
    sws_scale(m_scaler, frame.av()->data, frame.av()->linesize, 0, frame.height(), out->data, out->linesize);
    out->chroma_location = frame.av()->chroma_location;
    scaled.setColor(to);
    return scaled;
}

VideoFrame FrameConverter::turn(const VideoFrame& frame) const
{
    VideoFrame turned = m_turnedPool.take();
    if (!turned)
        return {};
    for (int plane = 0; plane < 3; ++plane) {
        const int shift = plane > 0;
        turnPlane(frame.plane(plane), frame.stride(plane), turned.writablePlane(plane), turned.stride(plane),
            (turned.width() + shift) >> shift, (turned.height() + shift) >> shift, m_quarterTurns);
    }
    turned.setColor(frame.color());
    return turned;
}

} // namespace kelmo
