#pragma once

#include "media/stack/container/PacketReader.h"

namespace kelmo {

/// Fetches samples through libav's demuxer, for containers whose packets are not plain stretches of the file. Reading
/// on is cheap; everything else is a seek to a key sample before and a walk from there.
///
/// Packets are told by their place in the file. Their times are not the same in every walk: after a seek libav works
/// out other decoding times than it does from the start of the file. Owned by one decoder; not thread-safe.
class DemuxingPacketReader final : public PacketReader {
public:
    [[nodiscard]] static Result<std::unique_ptr<PacketReader>> create(
        std::shared_ptr<const Asset> asset, const Track& track);

    [[nodiscard]] Result<void> read(int number, AVPacket& packet) override;

private:
    DemuxingPacketReader(std::shared_ptr<const Asset> asset, const Track& track);

    [[nodiscard]] Result<void> open();
    [[nodiscard]] bool seekTo(const Sample& sample, bool shown);
    [[nodiscard]] bool walkTo(int number, AVPacket& packet);
    [[nodiscard]] int numberOf(const AVPacket& packet);
    [[nodiscard]] int keyBefore(int number) const;

    struct Place {
        int64_t position = 0; ///< Bytes from the start of the file.
        int number = 0; ///< The first sample there.

        bool operator<(const Place& other) const { return position < other.position; }
    };

    const std::shared_ptr<const Asset> m_asset;
    const Track& m_track;
    std::vector<Place> m_places; ///< Ascending.
    AvHandle<AVFormatContext> m_input;
    int m_last = -1; ///< The sample that was delivered last; -1 when the place in the walk is not known.
    int64_t m_lastPosition = -1; ///< Of the packet that came last.
};

} // namespace kelmo
