#pragma once

#include "media/ExportFeeds.h"
#include "media/stack/player/PlayerItem.h"

#include <thread>

namespace kelmo {

/// Reads the composed preview pictures of an edit from first to last, as fast as they can be made: screen and camera
/// are decoded ahead, on a thread each, which end with the object. Used by one thread.
class PreviewReader {
public:
    /// Requires an item with a camera.
    explicit PreviewReader(std::shared_ptr<const PlayerItem> item);
    ~PreviewReader();
    PreviewReader(const PreviewReader&) = delete;
    PreviewReader& operator=(const PreviewReader&) = delete;

    [[nodiscard]] int count() const { return int(m_plan.size()); }
    /// The next picture; null after the last, or when a source cannot be read.
    [[nodiscard]] VideoFrame next();

private:
    const std::shared_ptr<const PlayerItem> m_item;
    std::vector<PlannedFrame> m_plan;
    ScreenFeed m_screen;
    CameraFeed m_camera;
    std::thread m_screenThread;
    std::thread m_cameraThread;
};

} // namespace kelmo
