#include "media/stack/picture/VideoFrame.h"

#include "media/stack/core/AvHandles.h"

extern "C" {
#include <libavutil/buffer.h>
#include <libavutil/imgutils.h>
}

#include <cstring>
#include <utility>

namespace kelmo {

namespace {

constexpr int rowAlignment = 64;

} // namespace

ColorTags ColorTags::completed(int height) const
{
    ColorTags tags = *this;
    const int assumed = height > 576 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
    if (tags.matrix == AVCOL_SPC_UNSPECIFIED || tags.matrix == AVCOL_SPC_RGB)
        tags.matrix = assumed;
    if (tags.primaries == AVCOL_PRI_UNSPECIFIED)
        tags.primaries = assumed;
    if (tags.transfer == AVCOL_TRC_UNSPECIFIED)
        tags.transfer = assumed;
    return tags;
}

VideoFrame::VideoFrame(AVFrame* owned)
    : m_frame(owned, AvFree())
{
}

int VideoFrame::width() const { return m_frame->width; }

int VideoFrame::height() const { return m_frame->height; }

const uint8_t* VideoFrame::plane(int index) const { return m_frame->data[index]; }

int VideoFrame::stride(int index) const { return m_frame->linesize[index]; }

ColorTags VideoFrame::color() const
{
    const bool jpeg = m_frame->format == AV_PIX_FMT_YUVJ420P || m_frame->format == AV_PIX_FMT_YUVJ422P
        || m_frame->format == AV_PIX_FMT_YUVJ444P;
    return {m_frame->color_primaries, m_frame->color_trc, m_frame->colorspace,
        jpeg || m_frame->color_range == AVCOL_RANGE_JPEG};
}

size_t VideoFrame::bytes() const
{
    size_t sum = 0;
    for (const AVBufferRef* buffer : m_frame->buf)
        sum += buffer ? size_t(buffer->size) : 0;
    return sum;
}

VideoFrame VideoFrame::cropped(int width, int height) const
{
    if (width == m_frame->width && height == m_frame->height)
        return *this;
    AVFrame* smaller = av_frame_clone(m_frame.get());
    if (!smaller)
        return {};
    smaller->width = width;
    smaller->height = height;
    return VideoFrame(smaller);
}

VideoFrame VideoFrame::tagged(ColorTags color) const
{
    if (color == this->color())
        return *this;
    AVFrame* same = av_frame_clone(m_frame.get());
    if (!same)
        return {};
    VideoFrame frame(same);
    frame.setColor(color);
    return frame;
}

uint8_t* VideoFrame::writablePlane(int index) { return m_frame->data[index]; }

void VideoFrame::setColor(ColorTags color)
{
    m_frame->color_primaries = AVColorPrimaries(color.primaries);
    m_frame->color_trc = AVColorTransferCharacteristic(color.transfer);
    m_frame->colorspace = AVColorSpace(color.matrix);
    m_frame->color_range = color.fullRange ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
}

FramePool::FramePool(int width, int height)
    : m_width(width)
    , m_height(height)
{
    const int size = av_image_get_buffer_size(AV_PIX_FMT_YUV420P, width, height, rowAlignment);
    // The margin lets vector code run past the last row.
    if (size > 0)
        m_pool = av_buffer_pool_init(size_t(size) + rowAlignment, nullptr);
}

FramePool::~FramePool() { av_buffer_pool_uninit(&m_pool); }

FramePool::FramePool(FramePool&& other) noexcept
    : m_width(other.m_width)
    , m_height(other.m_height)
    , m_pool(std::exchange(other.m_pool, nullptr))
{
}

FramePool& FramePool::operator=(FramePool&& other) noexcept
{
    std::swap(m_width, other.m_width);
    std::swap(m_height, other.m_height);
    std::swap(m_pool, other.m_pool);
    return *this;
}

VideoFrame FramePool::take() const
{
    AvHandle<AVFrame> frame = makeAvFrame();
    if (!frame || !m_pool)
        return {};
    frame->buf[0] = av_buffer_pool_get(m_pool);
    if (!frame->buf[0])
        return {};
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = m_width;
    frame->height = m_height;
    av_image_fill_arrays(
        frame->data, frame->linesize, frame->buf[0]->data, AV_PIX_FMT_YUV420P, m_width, m_height, rowAlignment);
    return VideoFrame(frame.release());
}

VideoFrame FramePool::copyOf(const VideoFrame& frame) const
{
    VideoFrame copy = take();
    if (!copy)
        return {};
    const uint8_t* planes[4] = {frame.plane(0), frame.plane(1), frame.plane(2), nullptr};
    AVFrame* to = copy.writable();
    av_image_copy(to->data, to->linesize, planes, frame.av()->linesize, AV_PIX_FMT_YUV420P, m_width, m_height);
    to->chroma_location = frame.av()->chroma_location;
    copy.setColor(frame.color());
    return copy;
}

VideoFrame FramePool::black(ColorTags color) const
{
    VideoFrame frame = take();
    if (!frame)
        return {};
    frame.setColor(color);
    const int chromaRows = (m_height + 1) / 2;
    std::memset(frame.writablePlane(0), color.fullRange ? 0 : 16, size_t(frame.stride(0)) * size_t(m_height));
    std::memset(frame.writablePlane(1), 128, size_t(frame.stride(1)) * size_t(chromaRows));
    std::memset(frame.writablePlane(2), 128, size_t(frame.stride(2)) * size_t(chromaRows));
    return frame;
}

} // namespace kelmo
