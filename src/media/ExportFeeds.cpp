#include "media/ExportFeeds.h"

#include "media/stack/decode/FrameSequence.h"
#include "media/stack/picture/FrameConverter.h"

namespace kelmo {

namespace {

constexpr int screenThreads = 2;
constexpr int cameraThreads = 1;

std::vector<int> entriesOf(const std::vector<PlannedFrame>& plan, int PlannedFrame::*entry)
{
    std::vector<int> frames;
    for (const PlannedFrame& frame : plan) {
        if (frame.*entry != PlannedFrame::none)
            frames.push_back(frame.*entry);
    }
    return frames;
}

Result<FrameSequence> openSequence(const CompositionTrack& track, std::vector<int> frames, int threads)
{
    Result<std::unique_ptr<VideoDecoder>> decoder = VideoDecoder::open(track.asset, *track.track, threads);
    if (!decoder)
        return tl::unexpected(decoder.error());
    return FrameSequence(std::move(*decoder), std::move(frames));
}

Error outOfMemory() { return {QStringLiteral("Export"), 4, QStringLiteral("There is not enough memory to export")}; }

/// Hands over one entry for each planned frame: what `prepare` makes of its picture, made once for a picture that is
/// repeated, or an empty one where the plan has none.
template <class T, class Prepare>
Result<void> feed(BoundedQueue<T>& queue, FrameSequence& sequence, const std::vector<PlannedFrame>& plan,
    int PlannedFrame::*entry, const Prepare& prepare)
{
    VideoFrame decoded;
    T ready{};
    for (const PlannedFrame& planned : plan) {
        if (planned.*entry == PlannedFrame::none) {
            if (!queue.push({}))
                return {};
            continue;
        }
        Result<VideoFrame> next = sequence.next();
        if (!next)
            return tl::unexpected(next.error());
        if (!(decoded == *next)) {
            decoded = *next;
            ready = prepare(decoded);
            if (!ready)
                return tl::unexpected(outOfMemory());
        }
        if (!queue.push(ready))
            return {};
    }
    return {};
}

} // namespace

Result<void> ScreenFeed::run(const CompositionTrack& track, const std::vector<PlannedFrame>& plan, int width,
    int height, bool sameSize, Scaling scaling)
{
    Result<FrameSequence> sequence = openSequence(track, entriesOf(plan, &PlannedFrame::screen), screenThreads);
    if (!sequence)
        return tl::unexpected(sequence.error());
    // An odd last row or column is left away rather than squeezed in: the other pixels stay what they are.
    const Track& source = *track.track;
    FrameConverter converter(sameSize ? source.uprightWidth() : width, sameSize ? source.uprightHeight() : height,
        source.quarterTurns, source.color, scaling);
    return feed(m_queue, *sequence, plan, &PlannedFrame::screen, [&](const VideoFrame& decoded) {
        const VideoFrame ready = converter.convert(decoded);
        return ready ? ready.cropped(width, height) : VideoFrame();
    });
}

Result<void> CameraFeed::run(
    const CompositionTrack& track, const std::vector<PlannedFrame>& plan, int diameter, ColorTags target)
{
    Result<FrameSequence> sequence = openSequence(track, entriesOf(plan, &PlannedFrame::camera), cameraThreads);
    if (!sequence)
        return tl::unexpected(sequence.error());
    const Track& source = *track.track;
    FaceScaler scaler(diameter, target, source.naturalWidth, source.naturalHeight, source.quarterTurns);
    return feed(m_queue, *sequence, plan, &PlannedFrame::camera,
        [&](const VideoFrame& decoded) { return scaler.scale(decoded); });
}

} // namespace kelmo
