#include "media/stack/container/TrackDescription.h"

#include "media/stack/container/SoundClock.h"

extern "C" {
#include <libavutil/display.h>
}

#include <cmath>

namespace kelmo {

namespace {

int quarterTurnsOf(const AVStream& stream)
{
#if LIBAVFORMAT_VERSION_MAJOR >= 61
    const AVPacketSideData* data = av_packet_side_data_get(
        stream.codecpar->coded_side_data, stream.codecpar->nb_coded_side_data, AV_PKT_DATA_DISPLAYMATRIX);
    const uint8_t* matrix = data ? data->data : nullptr;
#else
    const uint8_t* matrix = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr);
#endif
    if (!matrix)
        return 0;
    const double counterClockwise = av_display_rotation_get(reinterpret_cast<const int32_t*>(matrix));
    if (std::isnan(counterClockwise))
        return 0;
    return ((int(std::lround(-counterClockwise / 90.0)) % 4) + 4) % 4;
}

void describeVideo(const AVStream& stream, Track& track)
{
    const AVCodecParameters& parameters = *stream.codecpar;
    AVRational aspect
        = stream.sample_aspect_ratio.num > 0 ? stream.sample_aspect_ratio : parameters.sample_aspect_ratio;
    if (aspect.num <= 0 || aspect.den <= 0 || aspect.num > 100 * int64_t(aspect.den)
        || aspect.den > 100 * int64_t(aspect.num))
        aspect = {1, 1};
    // A shape that makes a pixel of difference is a container's rounding: scaling by it would only blur.
    const int shaped = std::max(1, int(scaled(parameters.width, aspect.num, aspect.den)));
    track.naturalWidth = std::abs(shaped - parameters.width) <= 1 ? parameters.width : shaped;
    track.naturalHeight = parameters.height;
    track.quarterTurns = quarterTurnsOf(stream);
    track.color = {parameters.color_primaries, parameters.color_trc, parameters.color_space,
        parameters.color_range == AVCOL_RANGE_JPEG};
    const double seconds = double(track.range.duration.us) / 1e6;
    track.nominalFps = seconds > 0 ? double(track.index.frames().size()) / seconds : 0;
}

std::vector<int64_t> soundPositionsOf(const Track& track, std::span<const int> lengths)
{
    const Ratio timeBase = track.index.timeBase();
    std::vector<int64_t> clock;
    for (const Sample& sample : track.index.samples())
        clock.push_back(scaled(sample.pts, timeBase.num * track.sampleRate, timeBase.den));
    return lengths.size() == clock.size() ? soundPositions(clock, lengths, track.sampleRate) : std::vector<int64_t>();
}

/// The edit list as ticks of the track. A list that only says "from the start, everything" becomes one segment, too.
std::vector<EditSegment> editSegments(const MovBoxes& boxes, int trackId, Ratio timeBase)
{
    const auto found = boxes.tracks.find(trackId); // None in other containers.
    if (found == boxes.tracks.end() || boxes.movieTimescale <= 0)
        return {};
    std::vector<EditSegment> segments;
    int64_t movieTime = 0;
    for (const MovBoxes::Edit& edit : found->second.edits) {
        if (edit.duration < 0 || edit.duration > INT64_MAX / 4 - movieTime)
            break;
        const int64_t start = scaled(movieTime, timeBase.den, boxes.movieTimescale * timeBase.num);
        movieTime += edit.duration;
        const int64_t end = scaled(movieTime, timeBase.den, boxes.movieTimescale * timeBase.num);
        if (edit.mediaTime >= 0 && edit.mediaTime <= maxTicks)
            segments.push_back({edit.mediaTime, start, edit.duration > 0 ? end - start : maxTicks});
    }
    return segments;
}

/// Everything, moved so that what the track's clock calls `zero` shows at time zero. Empty when there is no sample.
std::vector<EditSegment> everything(const StreamSamples& listed, MediaTime zero, Ratio timeBase)
{
    const std::optional<int64_t> first = listed.start();
    if (!first)
        return {};
    return {{*first, *first - ExactTime::of(zero).ticksNearest(timeBase), maxTicks}};
}

/// Until when the last picture of a movie is to be held: what its edit list says when the movie as a whole is as long.
/// 0 for a file that was cut off.
int64_t heldUntil(
    const MovBoxes& boxes, const std::vector<EditSegment>& edits, Ratio timeBase, const StreamSamples& listed)
{
    if (edits.empty() || boxes.movieTimescale <= 0 || !listed.isComplete || edits.back().duration >= maxTicks)
        return 0;
    const int64_t movieEnd = scaled(boxes.movieDuration + 1, timeBase.den, boxes.movieTimescale * timeBase.num);
    const int64_t end = edits.back().presentStart + edits.back().duration;
    return end <= movieEnd ? end : 0;
}

} // namespace

Track describedTrack(const AVStream& stream, StreamSamples listed, const MovBoxes& boxes, MediaTime zero)
{
    Track track;
    track.stream = stream.index;
    track.type = stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO ? MediaType::Video : MediaType::Audio;
    const Ratio timeBase{stream.time_base.num, stream.time_base.den};
    std::vector<EditSegment> edits = editSegments(boxes, stream.id, timeBase);
    const int64_t held = track.type == MediaType::Video ? heldUntil(boxes, edits, timeBase, listed) : 0;
    if (edits.empty())
        edits = everything(listed, zero, timeBase);
    track.index = SampleIndex(std::move(listed.samples), std::move(edits), timeBase, listed.lastDuration, held);
    track.range = track.index.range();
    AvHandle<AVCodecParameters> parameters(avcodec_parameters_alloc());
    avcodec_parameters_copy(parameters.get(), stream.codecpar);
    track.parameters = std::shared_ptr<const AVCodecParameters>(
        parameters.release(), [](const AVCodecParameters* owned) { AvFree()(const_cast<AVCodecParameters*>(owned)); });
    track.sampleRate = stream.codecpar->sample_rate;
    track.channels = stream.codecpar->ch_layout.nb_channels;
    if (track.type == MediaType::Video)
        describeVideo(stream, track);
    else
        track.soundPositions = soundPositionsOf(track, listed.lengths);
    return track;
}

} // namespace kelmo
