#pragma once

#include "media/Built.h"

#include <QFuture>

#include <atomic>

class QThreadPool;

namespace kelmo {

/// Grabs frames of the open take's edit on workers, in the order of the calls. Owned by the Editor; main thread only.
class FrameGrabs {
public:
    /// Requires: the workers outlive this object.
    explicit FrameGrabs(QThreadPool& workers);
    ~FrameGrabs();
    FrameGrabs(const FrameGrabs&) = delete;
    FrameGrabs& operator=(const FrameGrabs&) = delete;

    /// The same as `FrameGrab::png`. Fails if it is dropped first.
    [[nodiscard]] QFuture<Result<QByteArray>> png(
        std::shared_ptr<const Built> built, double atEditedMs, double maxWidth);

    /// Gives up all frames that are not finished: their take is closed.
    void drop();

private:
    QThreadPool& m_workers;
    std::shared_ptr<std::atomic<bool>> m_dropped; ///< Shared with the workers; a new one after each drop.
};

} // namespace kelmo
