#include "media/Codec.h"

namespace kelmo {

const std::array<CodecTraits, 2>& allCodecs()
{
    static const std::array<CodecTraits, 2> codecs{{
        {Codec::H264, QStringLiteral("h264"), QStringLiteral("H.264"), VideoCodec::H264, 0.1},
        {Codec::Hevc, QStringLiteral("hevc"), QStringLiteral("HEVC"), VideoCodec::Hevc, 0.06},
    }};
    return codecs;
}

const CodecTraits& traits(Codec codec) { return allCodecs()[codec == Codec::H264 ? 0 : 1]; }

std::optional<Codec> codecFromName(QStringView name)
{
    for (const CodecTraits& each : allCodecs()) {
        if (each.name == name)
            return each.codec;
    }
    return std::nullopt;
}

} // namespace kelmo
