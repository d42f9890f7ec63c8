#pragma once

#include "media/stack/core/AvHandles.h"

#include <optional>

struct AVVorbisParseContext;

namespace kelmo {

/// Tells how many samples of sound each packet of one stream decodes to, from the packet's own first bytes. Internal to
/// the opening of assets, which shows it every packet of the stream in order; any one thread.
class PacketLengths {
public:
    explicit PacketLengths(const AVCodecParameters& parameters);
    ~PacketLengths();
    PacketLengths(const PacketLengths&) = delete;
    PacketLengths& operator=(const PacketLengths&) = delete;

    /// The length of the next packet in samples of the stream's rate; nullopt if it cannot be told.
    [[nodiscard]] std::optional<int> next(const AVPacket& packet);

private:
    [[nodiscard]] std::optional<int> nextVorbis(const AVPacket& packet);

    AVCodecParameters& m_parameters; ///< Owned by the input.
    AVVorbisParseContext* m_vorbis = nullptr; ///< Null for other codecs.
    bool m_isFirst = true;
};

} // namespace kelmo
