#include "media/stack/encode/PacketSink.h"

#include "media/stack/core/AvHandles.h"

namespace kelmo {

Result<void> drainEncoder(AVCodecContext& context, const QString& encoder, const PacketSink& sink)
{
    const AvHandle<AVPacket> packet = makeAvPacket();
    for (;;) {
        const int code = avcodec_receive_packet(&context, packet.get());
        if (code == AVERROR(EAGAIN) || code == AVERROR_EOF)
            return {};
        if (code < 0)
            return avFailure(code, QStringLiteral("Can’t encode with"), encoder);
        if (Result<void> taken = sink(*packet); !taken)
            return taken;
    }
}

} // namespace kelmo
