#include "media/stack/TrackDescription.h"

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
    track.nominalFps = seconds > 0 ? double(track.index.displays().size()) / seconds : 0;
}

/// The edit list as ticks of the track. A list that only says "from the start, everything" becomes one segment, too.
std::vector<EditSegment> editSegments(const MovBoxes& boxes, int trackId, Ratio timeBase)
{
    const auto found = boxes.tracks.find(trackId);
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
        if (edit.mediaTime >= 0 && edit.mediaTime <= mostTicks)
            segments.push_back({edit.mediaTime, start, edit.duration > 0 ? end - start : mostTicks});
    }
    return segments;
}

} // namespace

Track describedTrack(const AVStream& stream, StreamSamples listed, const MovBoxes& boxes, bool isMov)
{
    Track track;
    track.stream = stream.index;
    track.type = stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO ? MediaType::Video : MediaType::Audio;
    const Ratio timeBase{stream.time_base.num, stream.time_base.den};
    track.index = SampleIndex(std::move(listed.samples),
        isMov ? editSegments(boxes, stream.id, timeBase) : std::vector<EditSegment>(), timeBase, listed.lastDuration);
    track.range = track.index.range();
    AvHandle<AVCodecParameters> parameters(avcodec_parameters_alloc());
    avcodec_parameters_copy(parameters.get(), stream.codecpar);
    track.parameters = std::shared_ptr<const AVCodecParameters>(
        parameters.release(), [](const AVCodecParameters* owned) { AvFree()(const_cast<AVCodecParameters*>(owned)); });
    track.sampleRate = stream.codecpar->sample_rate;
    track.channels = stream.codecpar->ch_layout.nb_channels;
    if (track.type == MediaType::Video)
        describeVideo(stream, track);
    return track;
}

} // namespace kelmo
