#pragma once

#include "share/Sharer.h"

#include <QPointer>

namespace kelmo {

/// What the tools work on. A plain value, main thread only. Editor and sharer outlive the server, but a suspended call
/// may outlive all three: after a suspension a tool looks whether what it needs is still there.
struct ToolContext {
    QPointer<Editor> editor;
    QPointer<Sharer> sharer;
};

} // namespace kelmo
