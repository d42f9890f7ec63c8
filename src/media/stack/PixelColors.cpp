#include "media/stack/PixelColors.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace kelmo {

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

bool isRgb(AVPixelFormat format)
{
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
    return description && (description->flags & AV_PIX_FMT_FLAG_RGB);
}

int flagsWithinRows(int flags, int width)
{
    constexpr int block = 16;
    return width % block ? flags | SWS_ACCURATE_RND : flags;
}

void setScalerColors(SwsContext* scaler, ColorTags from, bool fromRgb, ColorTags to, bool toRgb)
{
    constexpr int unity = 1 << 16;
    sws_setColorspaceDetails(scaler, sws_getCoefficients(from.matrix), fromRgb || from.fullRange,
        sws_getCoefficients(to.matrix), toRgb || to.fullRange, 0, unity, unity);
}

} // namespace kelmo
