#include "media/stack/SampleListing.h"

namespace kelmo {

namespace {

constexpr size_t mostSamples = 200'000'000;
/// So many packets are compared with what was worked out, and more until each stream had one.
constexpr int comparedPackets = 64;
constexpr int mostComparedPackets = 4000;

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

/// A stream's samples without the shift that the demuxer gives to offsets below zero.
std::optional<std::vector<Sample>> indexed(AVStream& stream, const MovBoxes::TrackBoxes& boxes, int64_t fileSize)
{
    const int count = avformat_index_get_entries_count(&stream);
    std::vector<Sample> samples;
    samples.reserve(size_t(std::max(0, count)));
    auto run = boxes.offsets.begin();
    uint32_t used = 0;
    for (int i = 0; i < count; ++i) {
        const AVIndexEntry* entry = avformat_index_get_entry(&stream, i);
        if (!entry || entry->size <= 0 || !isSane(entry->timestamp))
            return std::nullopt;
        while (run != boxes.offsets.end() && used == run->count) {
            ++run;
            used = 0;
        }
        const bool hasOffset = run != boxes.offsets.end();
        if (!hasOffset && !boxes.offsets.empty())
            return std::nullopt;
        samples.push_back({entry->timestamp + (hasOffset ? run->offset : 0), entry->timestamp, entry->pos, entry->size,
            (entry->flags & AVINDEX_KEYFRAME) != 0});
        used += hasOffset;
        if (!isWhole(samples.back(), fileSize))
            return std::nullopt;
    }
    return samples;
}

/// Finds each stream's shift from what the demuxer delivers first, and makes sure that the rest agrees.
bool agreesWithPackets(AVFormatContext& input, const std::set<int>& wanted, std::vector<StreamSamples>& streams)
{
    std::vector<size_t> seen(streams.size());
    std::vector<int64_t> shifts(streams.size());
    const AvHandle<AVPacket> packet = makeAvPacket();
    const auto unseen
        = [&](int stream) { return seen[size_t(stream)] == 0 && !streams[size_t(stream)].samples.empty(); };
    for (int i = 0; i < comparedPackets || std::any_of(wanted.begin(), wanted.end(), unseen); ++i) {
        if (i == mostComparedPackets)
            return false;
        if (av_read_frame(&input, packet.get()) < 0)
            break;
        const auto stream = size_t(packet->stream_index);
        const Sample delivered = sampleIn(*packet);
        av_packet_unref(packet.get());
        if (!wanted.contains(int(stream)))
            continue;
        if (seen[stream] == streams[stream].samples.size())
            return false;
        const Sample& expected = streams[stream].samples[seen[stream]];
        if (seen[stream]++ == 0)
            shifts[stream] = delivered.pts - expected.pts;
        if (delivered.pts != expected.pts + shifts[stream] || delivered.dts != expected.dts
            || delivered.position != expected.position || delivered.size != expected.size
            || delivered.key != expected.key)
            return false;
    }
    for (size_t stream = 0; stream < streams.size(); ++stream) {
        for (Sample& sample : streams[stream].samples)
            sample.pts += shifts[stream];
    }
    return true;
}

} // namespace

std::optional<std::vector<StreamSamples>> listSamples(
    AVFormatContext& input, const std::set<int>& wanted, int64_t fileSize)
{
    std::vector<StreamSamples> streams(input.nb_streams);
    const AvHandle<AVPacket> packet = makeAvPacket();
    size_t total = 0;
    while (av_read_frame(&input, packet.get()) >= 0) {
        const Sample sample = sampleIn(*packet);
        const auto stream = size_t(packet->stream_index);
        if (stream < streams.size() && wanted.contains(packet->stream_index) && isSane(sample.pts) && isSane(sample.dts)
            && isWhole(sample, fileSize)) {
            streams[stream].samples.push_back(sample);
            streams[stream].lastDuration = packet->duration;
            ++total;
        }
        av_packet_unref(packet.get());
        if (total > mostSamples)
            return std::nullopt;
    }
    return streams;
}

std::optional<std::vector<StreamSamples>> listSamplesByIndex(
    AVFormatContext& input, const std::set<int>& wanted, int64_t fileSize, const MovBoxes& boxes)
{
    if (boxes.isFragmented)
        return std::nullopt;
    std::vector<StreamSamples> streams(input.nb_streams);
    for (const int stream : wanted) {
        const auto track = boxes.tracks.find(input.streams[stream]->id);
        std::optional<std::vector<Sample>> samples
            = track == boxes.tracks.end() ? std::nullopt : indexed(*input.streams[stream], track->second, fileSize);
        if (!samples)
            return std::nullopt;
        StreamSamples& listed = streams[size_t(stream)];
        listed.samples = *std::move(samples);
        if (listed.samples.size() > 1)
            listed.lastDuration = listed.samples.back().dts - listed.samples[listed.samples.size() - 2].dts;
    }
    if (!agreesWithPackets(input, wanted, streams))
        return std::nullopt;
    return streams;
}

} // namespace kelmo
