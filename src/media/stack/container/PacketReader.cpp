#include "media/stack/container/PacketReader.h"

#include "media/stack/container/DemuxingPacketReader.h"

namespace kelmo {

namespace {

class IndexedPacketReader final : public PacketReader {
public:
    IndexedPacketReader(std::shared_ptr<const Asset> asset, const Track& track)
        : m_asset(std::move(asset))
        , m_track(track)
    {
    }

    Result<void> read(int number, AVPacket& packet) override
    {
        return m_asset->readSample(m_track.index.samples()[size_t(number)], packet);
    }

private:
    std::shared_ptr<const Asset> m_asset;
    const Track& m_track;
};

} // namespace

Result<std::unique_ptr<PacketReader>> PacketReader::create(std::shared_ptr<const Asset> asset, const Track& track)
{
    if (asset->isMov())
        return std::make_unique<IndexedPacketReader>(std::move(asset), track);
    return DemuxingPacketReader::create(std::move(asset), track);
}

} // namespace kelmo
