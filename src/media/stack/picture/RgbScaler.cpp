#include "media/stack/picture/RgbScaler.h"

#include "media/stack/picture/PixelColors.h"

namespace kelmo {

RgbScaler::~RgbScaler() { sws_freeContext(m_scaler); }

bool RgbScaler::scale(const VideoFrame& frame, QImage& image, Scaling scaling)
{
    const bool sameSize = frame.width() == image.width() && frame.height() == image.height();
    // The exact conversion costs little when nothing is scaled; the quick one is off by up to three levels.
    const int flags = scaling == Scaling::Fine
        ? SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP
        : sameSize ? flagsWithinRows(SWS_POINT, image.width())
                   : SWS_FAST_BILINEAR;
    // Once placed, a scaler hands its places on to the one that replaces it in its cache.
    const int place = frame.av()->chroma_location;
    if (!m_scaler || place != m_place) {
        sws_freeContext(m_scaler);
        m_scaler = sws_alloc_context();
        if (!m_scaler)
            return false;
        placeScalerColors(*m_scaler, frame);
        m_place = place;
    }
    const AVPixelFormat format = plainFormat(frame.av()->format);
    m_scaler = sws_getCachedContext(m_scaler, frame.width(), frame.height(), format, image.width(), image.height(),
        AV_PIX_FMT_BGRA, flags, nullptr, nullptr, nullptr);
    if (!m_scaler)
        return false;
    setScalerColors(m_scaler, frame.color().completed(frame.height()), false, {1, 13, 1, true}, true);
    uint8_t* planes[4] = {image.bits(), nullptr, nullptr, nullptr};
    const int strides[4] = {int(image.bytesPerLine()), 0, 0, 0};
    sws_scale(m_scaler, frame.av()->data, frame.av()->linesize, 0, frame.height(), planes, strides);
    return true;
}

} // namespace kelmo
