#pragma once

#include "editor/Editor.h"

#include <QCoroTask>
#include <QPointer>

namespace kelmo {

/// Makes the share link of the current edit; true waits until the link plays. Called on the main thread. The task it
/// returns must not depend on the function object itself, which may go while the task is suspended.
using ShareFunction = std::function<QCoro::Task<Result<QString>>(bool waitForUpload)>;

/// What the tools work on. A plain value, main thread only. The editor outlives the server, but a suspended call may
/// outlive both: after a suspension a tool looks whether the editor is still there.
struct ToolContext {
    QPointer<Editor> editor;
    ShareFunction share; ///< may be empty: then nothing can be shared
};

} // namespace kelmo
