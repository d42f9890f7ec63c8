#pragma once

#include "media/ExportPlan.h"
#include "media/stack/core/BoundedQueue.h"
#include "media/stack/picture/FacePicture.h"
#include "media/stack/picture/FrameConverter.h"
#include "media/stack/picture/VideoFrame.h"

#include <atomic>

namespace kelmo {

/// The pictures of an export's screen track, decoded and brought to the export's size, in the order of its plan. One
/// entry for each planned frame; null where the plan has none. Each feed runs on one thread of its own.
class ScreenFeed {
public:
    explicit ScreenFeed(size_t capacity)
        : m_queue(capacity)
    {
    }

    /// Decodes the plan into the queue; returns when all is handed over, or the queue is closed by the other side.
    [[nodiscard]] Result<void> run(const CompositionTrack& track, const std::vector<PlannedFrame>& plan, int width,
        int height, bool sameSize, Scaling scaling = Scaling::Fine);

    [[nodiscard]] std::optional<VideoFrame> take() { return m_queue.pop(); }
    void close() { m_queue.close(); }

private:
    BoundedQueue<VideoFrame> m_queue;
};

/// The same for the camera track: faces ready to be drawn.
class CameraFeed {
public:
    using Face = std::shared_ptr<const FacePicture>;

    explicit CameraFeed(size_t capacity)
        : m_queue(capacity)
    {
    }

    [[nodiscard]] Result<void> run(
        const CompositionTrack& track, const std::vector<PlannedFrame>& plan, int diameter, ColorTags target);

    [[nodiscard]] std::optional<Face> take() { return m_queue.pop(); }
    void close() { m_queue.close(); }

private:
    BoundedQueue<Face> m_queue;
};

} // namespace kelmo
