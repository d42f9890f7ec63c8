#pragma once

#include "platform/crash/CrashRecord.h"
#include "platform/crash/Symbolizer.h"

#include <QByteArray>

namespace kelmo::CallStackTree {

/// The stack of a crash or hang as JSON: `callStacks`, whose `frames` go from the innermost call outwards, each with
/// its `module`, the `offset` in it and, where it can be told, the `function`; then the build ID of each of the
/// `modules`.
[[nodiscard]] QByteArray json(const CrashRecord::Section& section, Symbolizer& symbolizer);

} // namespace kelmo::CallStackTree
