#include "media/stack/PictureMaker.h"

#include "telemetry/Log.h"

namespace kelmo {

namespace {

constexpr int screenThreads = 2;
constexpr int cameraThreads = 1;
/// Enough for what is decoded ahead, so that an edit while playing finds it again.
constexpr size_t mostMade = 20;
constexpr size_t mostMadeBytes = 96 << 20;
constexpr size_t mostSpare = 3;

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
    m_grid.emplace(m_item, m_thinning);
    if (!hadGrid || !sameForm)
        m_screen->setWanted(m_grid->wantedSamples());
}

void PictureMaker::openTracks()
{
    const auto follow = [this](std::unique_ptr<TrackFrames>& frames, const CompositionTrack* track, int threads) {
        if (frames && track && &frames->track() == track->track)
            return;
        std::unique_ptr<TrackFrames> next
            = track ? std::make_unique<TrackFrames>(track->asset, *track->track, threads) : nullptr;
        const std::lock_guard lock(m_mutex);
        frames = std::move(next);
        m_made.clear();
    };
    const Composition* composition = m_item ? m_item->composition.get() : nullptr;
    follow(m_screen, composition ? &composition->screen : nullptr, screenThreads);
    follow(m_camera, composition && composition->camera ? &*composition->camera : nullptr, cameraThreads);
}

void PictureMaker::setThinning(int thinning)
{
    if (thinning == m_thinning || !m_item)
        return;
    m_thinning = thinning;
    m_grid.emplace(m_item, thinning);
    m_screen->setWanted(m_grid->wantedSamples());
}

void PictureMaker::cancel()
{
    const std::lock_guard lock(m_mutex);
    m_cancelled = true;
    for (const auto& frames : {m_screen.get(), m_camera.get()}) {
        if (frames)
            frames->cancel();
    }
}

VideoFrame PictureMaker::screenAt(std::optional<int> display)
{
    const Track& track = *m_item->composition->screen.track;
    if (!display)
        return FramePool(m_item->width, m_item->height).black(track.color.completed(m_item->height));
    const Result<VideoFrame> decoded = m_screen->frame(*display);
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

std::shared_ptr<const FacePicture> PictureMaker::faceAt(std::optional<int> display, ColorTags target)
{
    if (!display || !m_item->overlay)
        return nullptr;
    const Result<VideoFrame> decoded = m_camera->frame(*display);
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

VideoFrame PictureMaker::compose(const PictureMoment& moment)
{
    const VideoFrame screen = screenAt(moment.screen);
    if (!screen)
        return {};
    const std::shared_ptr<const FacePicture> face = faceAt(moment.camera, screen.color().completed(screen.height()));
    return face ? m_item->overlay->compose(screen, *face) : screen;
}

std::shared_ptr<QImage> PictureMaker::freshImage(QSize size)
{
    const size_t bytes = size_t(size.width()) * size_t(size.height()) * 4;
    while (m_made.size() >= mostMade || m_made.size() * bytes > mostMadeBytes) {
        if (m_made.back().image.use_count() == 1 && m_spare.size() < mostSpare)
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

PictureMaker::Image PictureMaker::make(const PictureMoment& moment, QSize box, Scaling scaling)
{
    const QSize own(m_item->width, m_item->height);
    const QSize size = own.scaled(box, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
    const Key key{moment.screen, moment.camera, size, scaling};
    const auto known = std::find_if(m_made.begin(), m_made.end(), [&](const Made& each) { return each.key == key; });
    if (known != m_made.end()) {
        m_made.splice(m_made.begin(), m_made, known);
        return known->image;
    }
    const VideoFrame frame = compose(moment);
    std::shared_ptr<QImage> image = frame ? freshImage(size) : nullptr;
    RgbScaler& scaler = scaling == Scaling::Fine ? m_fineScaler : m_quickScaler;
    if (!image || image->isNull() || !scaler.scale(frame, *image, scaling))
        return nullptr;
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
    const std::optional<int> last = index.displayAt(ExactTime::of(now->source.end() - MediaTime{1}));
    const std::optional<int> first = index.displayAt(ExactTime::of(next->source.start));
    if (last && first)
        frames->prepare(*last, *first);
}

void PictureMaker::prepareJoin(MediaTime time, MediaTime lead)
{
    prepareTrack(m_item->composition->screen, m_screen.get(), time, lead);
    if (m_item->composition->camera)
        prepareTrack(*m_item->composition->camera, m_camera.get(), time, lead);
}

} // namespace kelmo
