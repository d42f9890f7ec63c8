#include "media/stack/picture/FacePicture.h"

#include "media/stack/picture/PictureTurning.h"
#include "media/stack/picture/PixelColors.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <algorithm>

namespace kelmo {

namespace {

/// A reference to a part of a picture, with its corner on whole chroma samples.
AvHandle<AVFrame> partOf(const VideoFrame& frame, int left, int top, int width, int height)
{
    AvHandle<AVFrame> part(av_frame_clone(frame.av()));
    if (!part)
        return nullptr;
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(AVPixelFormat(part->format));
    left &= ~((1 << format->log2_chroma_w) - 1);
    top &= ~((1 << format->log2_chroma_h) - 1);
    part->crop_left = size_t(left);
    part->crop_top = size_t(top);
    part->crop_right = size_t(std::max(0, part->width - left - width));
    part->crop_bottom = size_t(std::max(0, part->height - top - height));
    return av_frame_apply_cropping(part.get(), AV_FRAME_CROP_UNALIGNED) < 0 ? nullptr : std::move(part);
}

} // namespace

FaceScaler::FaceScaler(int size, ColorTags target, int naturalWidth, int naturalHeight, int quarterTurns)
    : m_size(size)
    , m_target(target)
    , m_naturalWidth(naturalWidth)
    , m_naturalHeight(naturalHeight)
    , m_quarterTurns(quarterTurns)
{
}

FaceScaler::~FaceScaler() { sws_freeContext(m_scaler); }

std::shared_ptr<const FacePicture> FaceScaler::scale(const VideoFrame& camera)
{
    // The square is one of square pixels; the coded picture may be squeezed.
    const int side = std::min(m_naturalWidth, m_naturalHeight);
    const int width = std::max(1, int(int64_t(side) * camera.width() / m_naturalWidth));
    const int height = std::max(1, int(int64_t(side) * camera.height() / m_naturalHeight));
    const AvHandle<AVFrame> square
        = partOf(camera, (camera.width() - width) / 2, (camera.height() - height) / 2, width, height);
    if (!square)
        return nullptr;

    const AVPixelFormat format = plainFormat(square->format);
    m_scaler = sws_getCachedContext(m_scaler, square->width, square->height, format, m_size, m_size, AV_PIX_FMT_YUV444P,
        SWS_BICUBIC | SWS_ACCURATE_RND, nullptr, nullptr, nullptr);
    if (!m_scaler)
        return nullptr;
    const ColorTags from = camera.color().completed(m_naturalHeight);
    setScalerColors(m_scaler, from, isRgb(format), m_target, false);

    // The scaler writes whole vectors, so its rows need room behind them.
    const int stride = (m_size + 63) & ~63;
    std::array<std::vector<uint8_t>, 3> rows;
    for (std::vector<uint8_t>& plane : rows)
        plane.resize(size_t(stride) * size_t(m_size) + 64);
    uint8_t* planes[4] = {rows[0].data(), rows[1].data(), rows[2].data(), nullptr};
    const int strides[4] = {stride, stride, stride, 0};
    sws_scale(m_scaler, square->data, square->linesize, 0, square->height, planes, strides);

    auto face = std::make_shared<FacePicture>();
    face->size = m_size;
    for (size_t i = 0; i < 3; ++i) {
        face->planes[i].resize(size_t(m_size) * size_t(m_size));
        if (m_quarterTurns) {
            turnPlane(planes[i], stride, face->planes[i].data(), m_size, m_size, m_size, m_quarterTurns);
            continue;
        }
        for (int y = 0; y < m_size; ++y)
            std::copy_n(planes[i] + ptrdiff_t(y) * stride, m_size, face->planes[i].begin() + ptrdiff_t(y) * m_size);
    }
    return face;
}

} // namespace kelmo
