#include "media/stack/container/PacketLengths.h"

extern "C" {
#include <libavcodec/vorbis_parser.h>
}

#include <array>

namespace kelmo {

namespace {

/// An Opus packet says in its first byte how long its frames are, and there or in the second one how many it has.
std::optional<int> opusLength(const AVPacket& packet)
{
    if (packet.size < 1)
        return std::nullopt;
    constexpr std::array<int, 4> silk{480, 960, 1920, 2880};
    constexpr std::array<int, 4> celt{120, 240, 480, 960};
    const int mode = packet.data[0] >> 3;
    const int frame = mode >= 16 ? celt[size_t(mode & 3)] : silk[size_t(mode >= 12 ? mode & 1 : mode & 3)];
    const int form = packet.data[0] & 3;
    if (form == 3)
        return packet.size > 1 ? std::optional(frame * (packet.data[1] & 63)) : std::nullopt;
    return frame * (form == 0 ? 1 : 2);
}

} // namespace

PacketLengths::PacketLengths(const AVCodecParameters& parameters)
    : m_parameters(const_cast<AVCodecParameters&>(parameters)) // libav only reads it, but does not say so.
{
    if (parameters.codec_id == AV_CODEC_ID_VORBIS)
        m_vorbis = av_vorbis_parse_init(parameters.extradata, parameters.extradata_size);
}

PacketLengths::~PacketLengths() { av_vorbis_parse_free(&m_vorbis); }

std::optional<int> PacketLengths::next(const AVPacket& packet)
{
    if (m_parameters.codec_id == AV_CODEC_ID_VORBIS)
        return nextVorbis(packet);
    if (m_parameters.codec_id == AV_CODEC_ID_OPUS)
        return opusLength(packet);
    const int length = av_get_audio_frame_duration2(&m_parameters, packet.size);
    return length > 0 ? std::optional(length) : std::nullopt;
}

std::optional<int> PacketLengths::nextVorbis(const AVPacket& packet)
{
    const int length = m_vorbis ? av_vorbis_parse_frame(m_vorbis, packet.data, packet.size) : -1;
    if (length < 0)
        return std::nullopt;
    // Each block overlaps the one before, so the first gives no sound yet.
    return std::exchange(m_isFirst, false) ? 0 : length;
}

} // namespace kelmo
