#include "media/ExportPlan.h"

namespace kelmo {

namespace {

constexpr int64_t ticksPerSecond = VideoEncoder::timeBase.den;
/// Recorders' clocks jitter by less than this; a picture early by so little is not too soon.
constexpr int64_t jitter = ticksPerSecond / 1000;

} // namespace

int64_t ExportPlan::ticks(MediaTime time) { return scaled(time.us, ticksPerSecond, 1'000'000); }

std::vector<PlannedFrame> ExportPlan::onGrid(const Composition& composition, int fps)
{
    std::vector<PlannedFrame> frames;
    for (int64_t k = 0;; ++k) {
        const ExactTime time = ExactTime::gridStep(k, fps);
        if (!time.isBefore(composition.duration))
            return frames;
        PlannedFrame frame;
        frame.pts = time.ticksNearest(VideoEncoder::timeBase);
        frame.screen = composition.screen.frameAt(time).value_or(PlannedFrame::none);
        if (composition.camera)
            frame.camera = composition.camera->frameAt(time).value_or(PlannedFrame::none);
        frames.push_back(frame);
    }
}

std::vector<PlannedFrame> ExportPlan::ownFrames(const Composition& composition)
{
    std::vector<PlannedFrame> frames;
    const SampleIndex& index = composition.screen.track->index;
    MediaTime reached;
    const auto fillGap = [&](MediaTime until) {
        if (reached < until)
            frames.push_back({.pts = ticks(reached)});
    };
    for (const CompositionSegment& segment : composition.screen.segments) {
        fillGap(segment.at);
        const ExactTime start = ExactTime::of(segment.source.start);
        const ExactTime end = ExactTime::of(segment.source.end());
        frames.push_back({.pts = ticks(segment.at), .screen = index.frameAt(start).value_or(PlannedFrame::none)});
        const int last = index.frameAfter(end);
        for (int display = index.frameAfter(start); display < last; ++display) {
            const MediaTime shown = fromTicks(index.frames()[size_t(display)].present, index.timeBase());
            if (shown >= segment.source.end())
                break;
            frames.push_back({.pts = ticks(segment.at + (shown - segment.source.start)), .screen = display});
        }
        reached = segment.place().end();
    }
    fillGap(composition.duration);
    return frames;
}

std::vector<PlannedFrame> ExportPlan::capped(const std::vector<PlannedFrame>& frames, int fps, MediaTime end)
{
    const int64_t step = ticksPerSecond / fps;
    std::vector<PlannedFrame> kept;
    std::optional<PlannedFrame> dropped;
    const auto showDropped = [&](int64_t next) {
        if (dropped && next - (kept.back().pts + step) >= step - jitter) {
            dropped->pts = kept.back().pts + step;
            kept.push_back(*dropped);
        }
        dropped.reset();
    };
    for (const PlannedFrame& frame : frames) {
        if (!kept.empty() && frame.pts - kept.back().pts < step - jitter) {
            dropped = frame;
            continue;
        }
        showDropped(frame.pts);
        kept.push_back(frame);
    }
    showDropped(ticks(end));
    return kept;
}

std::vector<PlannedFrame> ExportPlan::withKeyFrames(const std::vector<PlannedFrame>& frames, MediaTime end)
{
    std::vector<PlannedFrame> result;
    int64_t key = -VideoEncoder::keyInterval;
    for (size_t i = 0; i < frames.size(); ++i) {
        const int64_t next = i + 1 < frames.size() ? frames[i + 1].pts : ticks(end);
        PlannedFrame frame = frames[i];
        // The next picture would come too late to be the key frame.
        frame.key = next - key > VideoEncoder::keyInterval;
        if (frame.key)
            key = frame.pts;
        result.push_back(frame);
        while (next - key > VideoEncoder::keyInterval) {
            key += VideoEncoder::keyInterval;
            frame.pts = key;
            frame.key = true;
            result.push_back(frame);
        }
    }
    return result;
}

} // namespace kelmo
