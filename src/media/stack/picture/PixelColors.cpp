#include "media/stack/picture/PixelColors.h"

extern "C" {
#include <libavutil/opt.h>
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

void placeScalerColors(SwsContext& scaler, const VideoFrame& frame)
{
    constexpr int middle = 128;
    const AVChromaLocation location = frame.av()->chroma_location;
    av_opt_set_int(&scaler, "src_h_chr_pos", location == AVCHROMA_LOC_CENTER ? middle : 0, 0);
    av_opt_set_int(&scaler, "src_v_chr_pos", location == AVCHROMA_LOC_TOPLEFT ? 0 : middle, 0);
}

void setScalerColors(SwsContext* scaler, ColorTags from, bool fromRgb, ColorTags to, bool toRgb)
{
    constexpr int unity = 1 << 16;
    sws_setColorspaceDetails(scaler, sws_getCoefficients(from.matrix), fromRgb || from.fullRange,
        sws_getCoefficients(to.matrix), toRgb || to.fullRange, 0, unity, unity);
}

} // namespace kelmo
