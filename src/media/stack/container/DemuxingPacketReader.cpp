#include "media/stack/container/DemuxingPacketReader.h"

#include "media/stack/container/AssetOpening.h"

#include <cstring>

namespace kelmo {

DemuxingPacketReader::DemuxingPacketReader(std::shared_ptr<const Asset> asset, const Track& track)
    : m_asset(std::move(asset))
    , m_track(track)
{
    const std::vector<Sample>& samples = track.index.samples();
    for (size_t i = 0; i < samples.size(); ++i) {
        const bool sharesPlace = i > 0 && samples[i - 1].position == samples[i].position;
        if (samples[i].position >= 0 && !sharesPlace)
            m_places.push_back({samples[i].position, int(i)});
    }
    std::stable_sort(m_places.begin(), m_places.end());
}

Result<std::unique_ptr<PacketReader>> DemuxingPacketReader::create(
    std::shared_ptr<const Asset> asset, const Track& track)
{
    std::unique_ptr<DemuxingPacketReader> reader(new DemuxingPacketReader(std::move(asset), track));
    if (Result<void> opened = reader->open(); !opened)
        return tl::unexpected(opened.error());
    return reader;
}

/// Starts at the beginning of the file, as the walk that listed the samples did.
Result<void> DemuxingPacketReader::open()
{
    Result<AvHandle<AVFormatContext>> input = openContainer(m_asset->path());
    if (!input)
        return tl::unexpected(input.error());
    if (const int code = avformat_find_stream_info(input->get(), nullptr); code < 0)
        return avFailure(code, QStringLiteral("Can’t read"), m_asset->name());
    m_input = std::move(*input);
    for (unsigned i = 0; i < m_input->nb_streams; ++i)
        m_input->streams[i]->discard = int(i) == m_track.stream ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    m_last = -1;
    m_lastPosition = -1;
    return {};
}

Result<void> DemuxingPacketReader::read(int number, AVPacket& packet)
{
    const std::vector<Sample>& samples = m_track.index.samples();
    if (number == m_last + 1 && walkTo(number, packet))
        return {};
    // A container may lead to a later sample than asked for, or into the middle of one.
    for (const int earlier : {0, 1, 50, 500}) {
        const int key = keyBefore(number - earlier);
        for (const bool shown : {true, false}) {
            if (seekTo(samples[size_t(key)], shown) && walkTo(number, packet))
                return {};
        }
        if (key == 0)
            break;
    }
    if (Result<void> opened = open(); !opened)
        return opened;
    if (walkTo(number, packet))
        return {};
    return avFailure(AVERROR_EOF, QStringLiteral("Can’t read"), m_asset->name());
}

int DemuxingPacketReader::keyBefore(int number) const
{
    number = std::max(number, 0);
    while (number > 0 && !m_track.index.samples()[size_t(number)].key)
        --number;
    return number;
}

/// Goes to the place of a key sample, or where that is not exact, to when it is shown or decoded: which of these times
/// a container is sorted by differs.
bool DemuxingPacketReader::seekTo(const Sample& sample, bool shown)
{
    m_last = -1;
    m_lastPosition = -1;
    if (shown && sample.position >= 0 && std::strcmp(m_input->iformat->name, "mpegts") == 0)
        return av_seek_frame(m_input.get(), m_track.stream, sample.position, AVSEEK_FLAG_BYTE) >= 0;
    return av_seek_frame(m_input.get(), m_track.stream, shown ? sample.pts : sample.dts, AVSEEK_FLAG_BACKWARD) >= 0;
}

/// Reads on until the packet is this sample. False when that lies behind, or does not come.
bool DemuxingPacketReader::walkTo(int number, AVPacket& packet)
{
    const Sample& wanted = m_track.index.samples()[size_t(number)];
    while (av_packet_unref(&packet), av_read_frame(m_input.get(), &packet) >= 0) {
        if (packet.stream_index != m_track.stream)
            continue;
        m_last = numberOf(packet);
        if (m_last > number)
            return false;
        if (m_last == number) {
            packet.pts = wanted.pts;
            packet.dts = wanted.dts;
            return true;
        }
    }
    m_last = -1;
    return false;
}

/// Which sample a packet is; -1 when that cannot be told. Packets without a place of their own, and those that share
/// one, follow each other as they did when they were listed.
int DemuxingPacketReader::numberOf(const AVPacket& packet)
{
    const std::vector<Sample>& samples = m_track.index.samples();
    int number = m_last >= 0 ? m_last + 1 : -1;
    if (packet.pos >= 0 && packet.pos != m_lastPosition) {
        const auto place = std::lower_bound(m_places.begin(), m_places.end(), Place{packet.pos, 0});
        number = place != m_places.end() && place->position == packet.pos ? place->number : -1;
    }
    m_lastPosition = packet.pos;
    if (number < 0 || number >= int(samples.size()))
        return -1;
    const Sample& sample = samples[size_t(number)];
    return sample.position == packet.pos && sample.size == packet.size ? number : -1;
}

} // namespace kelmo
