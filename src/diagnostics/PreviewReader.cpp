#include "diagnostics/PreviewReader.h"

#include "media/stack/player/PictureGrid.h"

namespace kelmo {

namespace {

constexpr size_t ahead = 12;

std::vector<PlannedFrame> planOf(const std::shared_ptr<const PlayerItem>& item)
{
    const PictureGrid grid(item, {});
    std::vector<PlannedFrame> plan;
    for (MediaTime time; time < item->composition->duration;) {
        const PictureMoment moment = grid.at(time);
        PlannedFrame planned;
        planned.screen = moment.screen.value_or(PlannedFrame::none);
        planned.camera = moment.camera.value_or(PlannedFrame::none);
        plan.push_back(planned);
        time = moment.end;
    }
    return plan;
}

} // namespace

PreviewReader::PreviewReader(std::shared_ptr<const PlayerItem> item)
    : m_item(std::move(item))
    , m_plan(planOf(m_item))
    , m_screen(ahead)
    , m_camera(ahead)
    , m_screenThread([this] {
        const CompositionTrack& track = m_item->composition->screen;
        const bool sameSize
            = track.track->uprightWidth() == m_item->width && track.track->uprightHeight() == m_item->height;
        // What failed shows as an end of pictures.
        (void)m_screen.run(track, m_plan, m_item->width, m_item->height, sameSize, Scaling::Fast);
        m_screen.close();
    })
    , m_cameraThread([this] {
        const ColorTags color = m_item->composition->screen.track->color.completed(m_item->height);
        (void)m_camera.run(*m_item->composition->camera, m_plan, m_item->overlay->faceSize(), color);
        m_camera.close();
    })
{
}

PreviewReader::~PreviewReader()
{
    m_screen.close();
    m_camera.close();
    m_screenThread.join();
    m_cameraThread.join();
}

VideoFrame PreviewReader::next()
{
    const std::optional<VideoFrame> screen = m_screen.take();
    const std::optional<CameraFeed::Face> face = m_camera.take();
    if (!screen || !*screen || !face)
        return {};
    return *face ? m_item->overlay->compose(*screen, **face) : *screen;
}

} // namespace kelmo
