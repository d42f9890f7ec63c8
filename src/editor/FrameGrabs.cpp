#include "editor/FrameGrabs.h"

#include "media/FrameGrab.h"
#include "platform/ThreadPriority.h"

#include <QtConcurrent>

namespace kelmo {

namespace {

Error closedTake()
{
    return {QStringLiteral("Editor"), 6, QStringLiteral("The take was closed before the frame was made")};
}

} // namespace

FrameGrabs::FrameGrabs(QThreadPool& workers)
    : m_workers(workers)
    , m_dropped(std::make_shared<std::atomic<bool>>(false))
{
}

FrameGrabs::~FrameGrabs() { drop(); }

QFuture<Result<QByteArray>> FrameGrabs::png(std::shared_ptr<const Built> built, double atEditedMs, double maxWidth)
{
    return QtConcurrent::run(&m_workers, [=, dropped = m_dropped]() -> Result<QByteArray> {
        lowerThreadPriority(ThreadPriority::BelowUi);
        if (*dropped)
            return tl::unexpected(closedTake());
        Result<QByteArray> png = FrameGrab::png(*built, atEditedMs, maxWidth, [dropped] { return dropped->load(); });
        return *dropped ? tl::unexpected(closedTake()) : png;
    });
}

void FrameGrabs::drop()
{
    *m_dropped = true;
    m_dropped = std::make_shared<std::atomic<bool>>(false);
}

} // namespace kelmo
