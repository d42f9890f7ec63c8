#pragma once

#include "media/stack/container/Asset.h"
#include "media/stack/core/AvHandles.h"

namespace kelmo {

/// Fetches coded samples of one track in any order, for one decoder, which owns it. Not thread-safe.
class PacketReader {
public:
    virtual ~PacketReader() = default;

    /// Reads sample `number` of the track's index into `packet`.
    [[nodiscard]] virtual Result<void> read(int number, AVPacket& packet) = 0;

    /// The reader that fits the asset: by file position where the index knows it, else through the demuxer.
    [[nodiscard]] static Result<std::unique_ptr<PacketReader>> create(
        std::shared_ptr<const Asset> asset, const Track& track);
};

} // namespace kelmo
