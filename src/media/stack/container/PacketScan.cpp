#include "media/stack/container/PacketScan.h"

#include "media/stack/container/OutputOrder.h"
#include "media/stack/container/PacketLengths.h"

namespace kelmo {

namespace {

constexpr int64_t longestLastSeconds = 60;

Sample sampleIn(const AVPacket& packet)
{
    const int64_t dts = packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
    const int64_t pts = packet.pts != AV_NOPTS_VALUE ? packet.pts : dts;
    return {pts, dts, packet.pos, packet.size, (packet.flags & AV_PKT_FLAG_KEY) != 0};
}

bool isWhole(const Sample& sample, int64_t fileSize)
{
    return sample.position < 0 || sample.position + sample.size <= fileSize;
}

/// One for each stream whose frames may come out in another order than they are coded in, where the media is read.
std::vector<std::unique_ptr<OutputOrder>> outputOrders(const AVFormatContext& input, const std::set<int>& wanted)
{
    std::vector<std::unique_ptr<OutputOrder>> orders(input.nb_streams);
    for (const int stream : wanted) {
        const AVCodecParameters& parameters = *input.streams[stream]->codecpar;
        if (!(input.flags & AVFMT_FLAG_NOPARSE) && OutputOrder::mayDiffer(parameters))
            orders[size_t(stream)] = std::make_unique<OutputOrder>(parameters);
    }
    return orders;
}

/// Notes how much sound the packets of a stream hold, as long as each of them tells.
class LengthNotes {
public:
    explicit LengthNotes(const AVCodecParameters& parameters)
        : m_lengths(parameters)
    {
    }

    void add(const AVPacket& packet, bool isListed, std::vector<int>& noted)
    {
        const std::optional<int> length = m_lengths.next(packet);
        m_areKnown = m_areKnown && length;
        if (!m_areKnown)
            noted.clear();
        else if (isListed)
            noted.push_back(*length);
    }

private:
    PacketLengths m_lengths;
    bool m_areKnown = true;
};

/// One for each wanted stream of sound, by the stream's index, where the media is read.
std::map<int, LengthNotes> lengthNotes(const AVFormatContext& input, const std::set<int>& wanted)
{
    std::map<int, LengthNotes> notes;
    for (const int stream : wanted) {
        if (!(input.flags & AVFMT_FLAG_NOPARSE) && input.streams[stream]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO)
            notes.try_emplace(stream, *input.streams[stream]->codecpar);
    }
    return notes;
}

} // namespace

std::optional<int64_t> StreamSamples::start() const
{
    std::optional<int64_t> start;
    for (const Sample& sample : samples) {
        if (sample.size > 0)
            start = std::min(start.value_or(sample.pts), sample.pts);
    }
    return start;
}

void StreamSamples::settleLastDuration(int64_t wholeLength, int64_t ticksPerSecond)
{
    if (samples.empty())
        return;
    const int64_t rest = wholeLength - (samples.back().dts - samples.front().dts);
    if (rest > 0 && rest < longestLastSeconds * ticksPerSecond)
        lastDuration = rest;
}

std::optional<std::vector<StreamSamples>> scanPackets(
    AVFormatContext& input, const std::set<int>& wanted, int64_t fileSize)
{
    std::vector<StreamSamples> streams(input.nb_streams);
    std::vector<std::unique_ptr<OutputOrder>> orders = outputOrders(input, wanted);
    std::map<int, LengthNotes> notes = lengthNotes(input, wanted);
    const AvHandle<AVPacket> packet = makeAvPacket();
    size_t total = 0;
    while (av_read_frame(&input, packet.get()) >= 0) {
        const Sample sample = sampleIn(*packet);
        const auto stream = size_t(packet->stream_index);
        const bool isListed = stream < streams.size() && wanted.contains(packet->stream_index) && isSane(sample.pts)
            && isSane(sample.dts) && isWhole(sample, fileSize);
        if (const auto note = notes.find(packet->stream_index); note != notes.end())
            note->second.add(*packet, isListed, streams[stream].lengths);
        if (isListed) {
            streams[stream].samples.push_back(sample);
            streams[stream].lastDuration = packet->duration;
            ++total;
            if (sample.pts != sample.dts)
                orders[stream].reset();
            if (orders[stream])
                orders[stream]->add(*packet);
        }
        av_packet_unref(packet.get());
        if (total > maxSamples)
            return std::nullopt;
    }
    for (size_t i = 0; i < streams.size(); ++i) {
        if (orders[i])
            orders[i]->settleTimes(streams[i].samples);
    }
    return streams;
}

} // namespace kelmo
