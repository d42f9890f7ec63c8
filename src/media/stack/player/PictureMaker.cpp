#include "media/stack/player/PictureMaker.h"

#include "telemetry/Log.h"

namespace kelmo {

namespace {

constexpr int maxScreenThreads = 6;
constexpr int cameraThreads = 1;
constexpr size_t screenCacheBytes = 192 << 20;
constexpr size_t cameraCacheBytes = 48 << 20;
/// So many samples between the end of a piece and the start of the next are decoded through.
constexpr int joinedSamples = 16;
constexpr MediaTime nearby{333'000};
/// Enough for what is decoded ahead, so that an edit while playing finds it again.
constexpr size_t maxMade = 20;
constexpr size_t maxMadeBytes = 96 << 20;
constexpr size_t maxSpare = 3;

} // namespace

void PictureMaker::setItem(std::shared_ptr<const PlayerItem> item)
{
    if (m_item == item)
        return;
    const bool sameForm = m_item && item && m_item->width == item->width && m_item->height == item->height
        && m_item->overlay == item->overlay;
    const bool hadGrid = m_item && item && m_item->fps == item->fps;
    m_item = std::move(item);
    if (!sameForm) {
        m_converter.reset();
        m_faceScaler.reset();
        m_screenDecoded = m_screenReady = m_cameraDecoded = {};
        m_faceReady.reset();
        m_made.clear();
    }
    openTracks();
    m_grid.reset();
    if (!m_item)
        return;
    if (!hadGrid || !sameForm)
        applyDropLevel();
    else
        m_grid.emplace(m_item, m_dropLevel);
}

void PictureMaker::openTracks()
{
    const auto follow = [this](std::unique_ptr<TrackFrames>& frames, const CompositionTrack* track, int threads,
                            size_t cacheBytes) {
        if (frames && track && &frames->track() == track->track)
            return;
        frames = track ? std::make_unique<TrackFrames>(track->asset, *track->track, threads, cacheBytes) : nullptr;
        m_made.clear();
    };
    // More than cores, because a picture waits for rows of the one it refers to.
    const int screenThreads = std::clamp(2 * int(std::thread::hardware_concurrency()), 2, maxScreenThreads);
    const Composition* composition = m_item ? m_item->composition.get() : nullptr;
    follow(m_screen, composition ? &composition->screen : nullptr, screenThreads, screenCacheBytes);
    follow(m_camera, composition && composition->camera ? &*composition->camera : nullptr, cameraThreads,
        cameraCacheBytes);
}

void PictureMaker::setDropLevel(FrameDropLevel dropLevel)
{
    if (dropLevel == m_dropLevel || !m_item)
        return;
    m_dropLevel = dropLevel;
    applyDropLevel();
}

void PictureMaker::applyDropLevel()
{
    m_grid.emplace(m_item, m_dropLevel);
    m_screen->setWanted(m_grid->wantedSamples(), m_dropLevel.referencesOnly);
}

VideoFrame PictureMaker::screenAt(std::optional<int> display, Use use, const Stop& stop)
{
    const Track& track = *m_item->composition->screen.track;
    if (!display)
        return FramePool(m_item->width, m_item->height).black(track.color.completed(m_item->height));
    const Result<VideoFrame> decoded = m_screen->frame(*display, use, stop);
    if (!decoded)
        return {};
    if (!m_converter) {
        m_converter = std::make_unique<FrameConverter>(
            m_item->width, m_item->height, track.quarterTurns, track.color, Scaling::Fast);
    }
    if (!(m_screenDecoded == *decoded)) {
        m_screenDecoded = *decoded;
        m_screenReady = m_converter->convert(*decoded);
    }
    return m_screenReady;
}

std::shared_ptr<const FacePicture> PictureMaker::faceAt(
    std::optional<int> display, ColorTags target, Use use, const Stop& stop)
{
    if (!display || !m_item->overlay)
        return nullptr;
    const Result<VideoFrame> decoded = m_camera->frame(*display, use, stop);
    if (!decoded)
        return m_faceReady;
    if (!m_faceScaler) {
        const Track& track = m_camera->track();
        m_faceScaler = std::make_unique<FaceScaler>(
            m_item->overlay->faceSize(), target, track.naturalWidth, track.naturalHeight, track.quarterTurns);
    }
    if (!(m_cameraDecoded == *decoded)) {
        m_cameraDecoded = *decoded;
        m_faceReady = m_faceScaler->scale(*decoded);
    }
    return m_faceReady;
}

VideoFrame PictureMaker::compose(const PictureMoment& moment, Use use, const Stop& stop)
{
    if (use == Use::Look && moment.camera && m_camera && !m_camera->isKnown(*moment.camera))
        m_camera->prepare(*moment.camera); // Beside the screen, when it takes long.
    const VideoFrame screen = screenAt(moment.screen, use, stop);
    if (!screen)
        return {};
    const std::shared_ptr<const FacePicture> face
        = faceAt(moment.camera, screen.color().completed(screen.height()), use, stop);
    if (moment.camera && stop && stop())
        return {}; // The face may be an older one.
    return face ? m_item->overlay->compose(screen, *face) : screen;
}

int PictureMaker::costOf(const PictureMoment& moment) const
{
    return moment.screen && m_screen ? m_screen->costOf(*moment.screen) : 0;
}

std::optional<PictureMoment> PictureMaker::knownNear(const PictureMoment& moment) const
{
    const auto search = [&](const CompositionTrack& track, const TrackFrames& frames, std::optional<int> display) {
        const CompositionSegment* segment = track.segmentAt(ExactTime::of(moment.start));
        if (!segment || !display)
            return std::optional<int>();
        // A picture from beyond the piece might have been cut away.
        const TimeRange near = segment->place().intersected({moment.start - nearby, nearby + nearby});
        const auto at = [&](MediaTime time) { return track.frameAt(ExactTime::of(time)).value_or(*display); };
        return frames.knownNear(*display, at(near.start), at(near.end() - MediaTime{1}));
    };
    const Composition& composition = *m_item->composition;
    PictureMoment found = moment;
    found.screen = search(composition.screen, *m_screen, moment.screen);
    if (composition.camera && moment.camera)
        found.camera = search(*composition.camera, *m_camera, moment.camera);
    if (!found.screen || found.camera.has_value() != moment.camera.has_value())
        return std::nullopt;
    const SampleIndex& index = composition.screen.track->index;
    const auto present
        = [&](int display) { return fromTicks(index.frames()[size_t(display)].present, index.timeBase()); };
    found.start = moment.start + (present(*found.screen) - present(*moment.screen));
    return found;
}

void PictureMaker::getInStep(const PictureMoment& moment, const Stop& stop) { (void)compose(moment, Use::Run, stop); }

std::shared_ptr<QImage> PictureMaker::freshImage(QSize size)
{
    const size_t bytes = size_t(size.width()) * size_t(size.height()) * 4;
    while (m_made.size() >= maxMade || m_made.size() * bytes > maxMadeBytes) {
        if (m_made.back().image.use_count() == 1 && m_spare.size() < maxSpare)
            m_spare.push_back(std::move(m_made.back().image));
        m_made.pop_back();
    }
    while (!m_spare.empty()) {
        std::shared_ptr<QImage> image = std::move(m_spare.back());
        m_spare.pop_back();
        if (image->size() == size)
            return image;
    }
    return std::make_shared<QImage>(size, QImage::Format_RGB32);
}

PictureMaker::Image PictureMaker::make(const PictureMoment& moment, QSize box, const Way& way)
{
    const QSize own(m_item->width, m_item->height);
    const QSize size = own.scaled(box, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
    const Key key{moment.screen, moment.camera, size, way.scaling};
    const auto known = std::find_if(m_made.begin(), m_made.end(), [&](const Made& each) { return each.key == key; });
    if (known != m_made.end()) {
        m_made.splice(m_made.begin(), m_made, known);
        return known->image;
    }
    const VideoFrame frame = compose(moment, way.use, way.stop);
    std::shared_ptr<QImage> image = frame ? freshImage(size) : nullptr;
    RgbScaler& scaler = way.scaling == Scaling::Fine ? m_fineScaler : m_quickScaler;
    if (!image || image->isNull() || !scaler.scale(frame, *image, way.scaling))
        return nullptr;
    // With references only, it may be the picture before.
    if (!m_dropLevel.referencesOnly)
        m_made.push_front({key, image});
    return image;
}

void PictureMaker::prepareTrack(
    const CompositionTrack& track, TrackFrames* frames, MediaTime time, MediaTime lead) const
{
    const CompositionSegment* now = track.segmentAt(ExactTime::of(time));
    const MediaTime end = now ? now->place().end() : time;
    const CompositionSegment* next = PictureGrid::segmentFrom(track, end);
    if (!frames || !now || !next || next->at - time > lead)
        return;
    const SampleIndex& index = track.track->index;
    const std::optional<int> last = index.frameAt(ExactTime::of(now->source.end() - MediaTime{1}));
    const std::optional<int> first = index.frameAt(ExactTime::of(next->source.start));
    if (!last || !first)
        return;
    const int onwards = index.frames()[size_t(*first)].sample - index.frames()[size_t(*last)].sample;
    if (onwards < 0 || onwards > joinedSamples)
        frames->prepare(*first);
}

void PictureMaker::prepareJoin(MediaTime time, MediaTime lead)
{
    prepareTrack(m_item->composition->screen, m_screen.get(), time, lead);
    if (m_item->composition->camera)
        prepareTrack(*m_item->composition->camera, m_camera.get(), time, lead);
}

} // namespace kelmo
