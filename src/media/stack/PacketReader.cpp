#include "media/stack/PacketReader.h"

#include "media/stack/AssetOpening.h"

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

/// For containers whose packets are not plain stretches of the file. Reading on is cheap, everything else is a seek to
/// the key sample before and a walk from there.
class DemuxingPacketReader final : public PacketReader {
public:
    DemuxingPacketReader(std::shared_ptr<const Asset> asset, const Track& track, AvHandle<AVFormatContext> input)
        : m_asset(std::move(asset))
        , m_track(track)
        , m_input(std::move(input))
    {
        for (unsigned i = 0; i < m_input->nb_streams; ++i)
            m_input->streams[i]->discard = int(i) == track.stream ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }

    Result<void> read(int number, AVPacket& packet) override
    {
        if (number == m_next && readUntil(number, packet))
            return {};
        const std::vector<Sample>& samples = m_track.index.samples();
        int key = number;
        while (key > 0 && !samples[size_t(key)].key)
            --key;
        // A container may land on a later key than asked for, so the search starts ever earlier.
        for (int64_t early = 0; early < 4; ++early) {
            const int64_t target = samples[size_t(key)].dts - early * m_track.index.timeBase().den;
            av_seek_frame(m_input.get(), m_track.stream, target, AVSEEK_FLAG_BACKWARD);
            if (readUntil(number, packet))
                return {};
        }
        return avFailure(AVERROR_EOF, QStringLiteral("Can’t read"), m_asset->name());
    }

private:
    bool readUntil(int number, AVPacket& packet)
    {
        const Sample& wanted = m_track.index.samples()[size_t(number)];
        while (av_packet_unref(&packet), av_read_frame(m_input.get(), &packet) >= 0) {
            if (packet.stream_index != m_track.stream)
                continue;
            const int64_t dts = packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
            if (dts > wanted.dts)
                break;
            if (dts == wanted.dts && (packet.pts == AV_NOPTS_VALUE || packet.pts == wanted.pts)) {
                packet.pts = wanted.pts;
                m_next = number + 1;
                return true;
            }
        }
        m_next = -1;
        return false;
    }

    std::shared_ptr<const Asset> m_asset;
    const Track& m_track;
    AvHandle<AVFormatContext> m_input;
    int m_next = 0;
};

} // namespace

Result<std::unique_ptr<PacketReader>> PacketReader::create(std::shared_ptr<const Asset> asset, const Track& track)
{
    if (asset->isMov())
        return std::make_unique<IndexedPacketReader>(std::move(asset), track);
    Result<AvHandle<AVFormatContext>> input = openContainer(asset->path());
    if (!input)
        return tl::unexpected(input.error());
    if (const int code = avformat_find_stream_info(input->get(), nullptr); code < 0)
        return avFailure(code, QStringLiteral("Can’t read"), asset->name());
    return std::make_unique<DemuxingPacketReader>(std::move(asset), track, std::move(*input));
}

} // namespace kelmo
