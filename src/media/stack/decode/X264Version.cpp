#include "media/stack/decode/X264Version.h"

extern "C" {
#include <libavutil/opt.h>
}

#include <QByteArrayView>

namespace kelmo {

namespace {

/// The version that a message in front of a frame names; 0 without one.
int versionIn(QByteArrayView head)
{
    constexpr QByteArrayView signature("x264 - core ");
    constexpr int maxVersion = 9999;
    const qsizetype found = head.indexOf(signature);
    int version = 0;
    if (found < 0)
        return version;
    for (const char digit : head.sliced(found + signature.size())) {
        if (digit < '0' || digit > '9')
            break;
        version = std::min(version * 10 + (digit - '0'), maxVersion);
    }
    return version;
}

} // namespace

void tellX264Version(AVCodecContext& decoder, PacketReader& reader)
{
    constexpr qsizetype searched = 4096; // Bytes.
    const AvHandle<AVPacket> packet = makeAvPacket();
    if (decoder.codec_id != AV_CODEC_ID_H264 || !reader.read(0, *packet))
        return;
    const auto size = std::min<qsizetype>(packet->size, searched);
    if (const int version = versionIn(QByteArrayView(packet->data, size)); version > 0)
        av_opt_set_int(decoder.priv_data, "x264_build", version, 0);
}

} // namespace kelmo
