#include "media/CompositionBuilder.h"

namespace kelmo {

namespace {

constexpr double longestFadeMs = 5.0;
constexpr double largestFadeShare = 0.25;
constexpr int previewLines = 1080;
constexpr int previewFps = 30;
constexpr int fullFps = 60;

/// A source's sound and where its file's clock lies on the source clock.
struct AudioSource {
    LoadedTake::Source source;
    double offsetMs;
};

/// Encoders put up to a frame of silence in front of a track that was meant to start at zero.
bool startsAtZero(const LoadedTake::Source& source)
{
    const MediaTime frame = fromTicks(1024, {1, source.track->sampleRate});
    return source.range.start <= frame;
}

std::vector<AudioSource> audioSources(const LoadedTake& loaded)
{
    std::vector<AudioSource> found;
    found.reserve(loaded.screenAudio.size() + loaded.camAudio.size());
    for (const LoadedTake::Source& source : loaded.screenAudio)
        found.push_back({source, startsAtZero(source) ? loaded.take.screenAudioStartMs : 0});
    for (const LoadedTake::Source& source : loaded.camAudio)
        found.push_back({source, loaded.take.webcamOffsetMs});
    return found;
}

TimeRange rangeOf(double startMs, double endMs)
{
    const MediaTime start = MediaTime::fromMs(startMs);
    return {start, MediaTime::fromMs(endMs) - start};
}

/// Places the part of `want` that the source has; the rest stays a gap.
void insert(CompositionTrack& track, TimeRange available, TimeRange want, MediaTime at)
{
    const TimeRange part = available.intersected(want);
    track.insert(part, at + (part.start - want.start));
}

/// The stretch of the webcam movie for a piece. It slides rather than shrinks at the movie's ends, so that the face
/// shows the nearest stretch instead of going blank.
TimeRange cameraRange(const LoadedTake::Source& camera, Span piece, MediaTime duration, double offsetMs)
{
    const double length = std::max(0.0, piece.end - piece.start);
    const double start = std::max(0.0, std::min(piece.start - offsetMs, camera.range.end().ms() - length));
    return {MediaTime::fromMs(start), duration};
}

/// When the file outlasts its pictures, the last one is held.
TimeRange heldRange(const LoadedTake& loaded)
{
    const TimeRange range = loaded.screenVideo.range;
    const MediaTime end = std::max(range.end(), loaded.assets.front()->duration());
    return {range.start, end - range.start};
}

} // namespace

std::vector<VolumeRamp> CompositionBuilder::joinRamps(const std::vector<Span>& keep)
{
    // Positions add up exactly as the pieces' own do: a ramp that ended a sample before its join would click.
    std::vector<VolumeRamp> ramps;
    MediaTime position;
    for (size_t i = 0; i < keep.size(); ++i) {
        const double length = std::max(0.0, keep[i].end - keep[i].start);
        const MediaTime fade = MediaTime::fromMs(std::min(length * largestFadeShare, longestFadeMs));
        if (i > 0)
            ramps.push_back({{position, fade}, 0, 1});
        position += rangeOf(keep[i].start, keep[i].end).duration;
        if (i + 1 < keep.size())
            ramps.push_back({{position - fade, fade}, 1, 0});
    }
    return ramps;
}

std::shared_ptr<const Built> CompositionBuilder::build(
    std::shared_ptr<const LoadedTake> loaded, const std::vector<Span>& keep)
{
    auto built = std::make_shared<Built>();
    Composition& composition = built->composition;
    composition.screen = {loaded->screenVideo.asset, loaded->screenVideo.track, {}};
    const std::vector<AudioSource> sounds = audioSources(*loaded);
    for (const AudioSource& sound : sounds)
        composition.audio.push_back({sound.source.asset, sound.source.track, {}});
    if (loaded->camVideo)
        composition.camera = CompositionTrack{loaded->camVideo->asset, loaded->camVideo->track, {}};

    const TimeRange screenRange = heldRange(*loaded);
    MediaTime cursor;
    for (const Span piece : keep) {
        const TimeRange want = rangeOf(piece.start, piece.end);
        insert(composition.screen, screenRange, want, cursor);
        for (size_t i = 0; i < sounds.size(); ++i) {
            const TimeRange shifted{MediaTime::fromMs(piece.start - sounds[i].offsetMs), want.duration};
            insert(composition.audio[i], sounds[i].source.range, shifted, cursor);
        }
        if (composition.camera) {
            insert(*composition.camera, loaded->camVideo->range,
                cameraRange(*loaded->camVideo, piece, want.duration, loaded->take.webcamOffsetMs), cursor);
        }
        cursor += want.duration;
    }
    composition.duration = cursor;

    if (keep.size() >= 2 && !sounds.empty())
        built->audioMix = joinRamps(keep);
    if (composition.camera)
        built->videoComposition = VideoComposition{loaded->renderWidth, loaded->renderHeight, fullFps};
    built->timeline = Timeline(keep);
    built->loaded = std::move(loaded);
    return built;
}

std::optional<VideoComposition> Built::previewVideoComposition() const
{
    if (!videoComposition || nativePreview)
        return videoComposition;
    VideoComposition preview = *videoComposition;
    const double scale = preview.height > 1 ? std::min(double(previewLines) / preview.height, 1.0) : 1.0;
    preview.width = 2 * int(videoComposition->width * scale * 0.5);
    preview.height = 2 * int(videoComposition->height * scale * 0.5);
    preview.fps = previewFps;
    return preview;
}

} // namespace kelmo
