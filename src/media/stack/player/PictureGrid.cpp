#include "media/stack/player/PictureGrid.h"

namespace kelmo {

namespace {

constexpr int64_t usPerSecond = 1'000'000;

int64_t ceilDivided(int64_t value, int64_t divisor) { return value / divisor + (value % divisor > 0 ? 1 : 0); }

int64_t floorDivided(int64_t value, int64_t divisor) { return value / divisor - (value % divisor < 0 ? 1 : 0); }

/// The place of a stretch of a segment's source on the edited clock, cut to the segment.
PictureMoment placed(const CompositionSegment& segment, MediaTime from, MediaTime to, std::optional<int> display)
{
    const MediaTime offset = segment.at - segment.source.start;
    return {std::max(from, segment.source.start) + offset, std::min(to, segment.source.end()) + offset, display, {}};
}

} // namespace

PictureGrid::PictureGrid(std::shared_ptr<const PlayerItem> item, FrameDropLevel dropLevel)
    : m_item(std::move(item))
    , m_screen(m_item->composition->screen)
    , m_perSecond(m_item->fps)
    , m_stride(dropLevel.stride)
    , m_keysOnly(dropLevel.keysOnly)
{
    constexpr int fastestFps = 60; // Where the source has no steady rate.
    if (m_stride > 1 && m_perSecond == 0)
        m_perSecond = fastestFps;
}

const CompositionSegment* PictureGrid::segmentFrom(const CompositionTrack& track, MediaTime time)
{
    const auto found = std::partition_point(track.segments.begin(), track.segments.end(),
        [&](const CompositionSegment& segment) { return segment.at < time; });
    return found == track.segments.end() ? nullptr : &*found;
}

MediaTime PictureGrid::presentTime(int display) const
{
    const SampleIndex& index = m_screen.track->index;
    MediaTime time = fromTicks(index.frames()[size_t(display)].present, index.timeBase());
    // The first whole microsecond at which it is on show.
    if (index.frameAt(ExactTime::of(time)).value_or(-1) < display)
        ++time.us;
    return time;
}

PictureMoment PictureGrid::gapAt(MediaTime time) const
{
    const CompositionSegment* next = segmentFrom(m_screen, time);
    const MediaTime end = next ? next->at : m_item->composition->duration;
    return {time, std::max(end, time + MediaTime{1}), {}, {}};
}

PictureMoment PictureGrid::stepAt(const CompositionSegment& segment, MediaTime source) const
{
    const int64_t unit = m_stride * usPerSecond;
    const int64_t step = floorDivided(source.us * m_perSecond, unit);
    const MediaTime from{ceilDivided(step * unit, m_perSecond)};
    const MediaTime to{ceilDivided((step + 1) * unit, m_perSecond)};
    const ExactTime shown
        = from < segment.source.start ? ExactTime::of(segment.source.start) : ExactTime{step * m_stride, m_perSecond};
    return placed(segment, from, to, m_screen.track->index.frameAt(shown));
}

PictureMoment PictureGrid::ownAt(const CompositionSegment& segment, MediaTime source) const
{
    const SampleIndex& index = m_screen.track->index;
    const std::optional<int> display = index.frameAt(ExactTime::of(source));
    const MediaTime from = display ? presentTime(*display) : segment.source.start;
    const int next = display ? *display + 1 : 0;
    const MediaTime to = next < int(index.frames().size()) ? presentTime(next) : segment.source.end();
    return placed(segment, from, std::max(to, source + MediaTime{1}), display);
}

PictureMoment PictureGrid::keyAt(const CompositionSegment& segment, MediaTime source) const
{
    const SampleIndex& index = m_screen.track->index;
    const auto isKey = [&](int display) { return index.sampleOf(display).key; };
    const int count = int(index.frames().size());
    int shown = index.frameAt(ExactTime::of(source)).value_or(0);
    while (shown > 0 && !isKey(shown))
        --shown;
    int next = shown + 1;
    while (next < count && !isKey(next))
        ++next;
    const MediaTime to = next < count ? presentTime(next) : segment.source.end();
    // A piece that begins between key pictures still begins with its own: an older one might have been cut away.
    const bool inside = presentTime(shown) >= segment.source.start;
    const std::optional<int> display = inside ? shown : index.frameAt(ExactTime::of(segment.source.start));
    return placed(segment, presentTime(shown), std::max(to, source + MediaTime{1}), display);
}

PictureMoment PictureGrid::at(MediaTime time) const
{
    const CompositionSegment* segment = m_screen.segmentAt(ExactTime::of(time));
    PictureMoment moment;
    if (!segment) {
        moment = gapAt(time);
    } else {
        const MediaTime source = time - segment->at + segment->source.start;
        moment = m_keysOnly    ? keyAt(*segment, source)
            : m_perSecond == 0 ? ownAt(*segment, source)
                               : stepAt(*segment, source);
    }
    const std::optional<CompositionTrack>& camera = m_item->composition->camera;
    if (camera)
        moment.camera = camera->frameAt(ExactTime::of(moment.start));
    return moment;
}

PictureMoment PictureGrid::exactAt(MediaTime time) const
{
    PictureMoment moment = at(time);
    moment.start = time;
    moment.screen = m_screen.frameAt(ExactTime::of(time));
    const std::optional<CompositionTrack>& camera = m_item->composition->camera;
    if (camera)
        moment.camera = camera->frameAt(ExactTime::of(time));
    return moment;
}

std::shared_ptr<const std::vector<bool>> PictureGrid::wantedSamples() const
{
    if (m_perSecond == 0)
        return nullptr;
    const SampleIndex& index = m_screen.track->index;
    auto wanted = std::make_shared<std::vector<bool>>(index.samples().size());
    const std::vector<SampleIndex::PresentedFrame>& frames = index.frames();
    const Ratio ticks = index.timeBase();
    // An entry is shown when a step of the grid falls between its start and the next one's.
    const auto firstStep = [&](size_t display) {
        const int64_t present = display < frames.size() ? frames[display].present : index.presentEnd();
        return ceilDivided(present * ticks.num * m_perSecond, ticks.den * m_stride);
    };
    for (size_t i = 0; i < frames.size(); ++i) {
        if (firstStep(i) < firstStep(i + 1))
            (*wanted)[size_t(frames[i].sample)] = true;
    }
    return wanted;
}

} // namespace kelmo
