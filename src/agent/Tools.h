#pragma once

#include "agent/ToolArguments.h"
#include "agent/ToolContext.h"
#include "agent/ToolResult.h"

namespace kelmo {

/// What the ten tools do, each as the user would do it in the window. Main thread only; the editor is there when a
/// call begins.
namespace Tools {

using Call = QCoro::Task<ToolOutcome>;

// TranscriptTool.cpp
Call getTranscript(ToolContext context, ToolArguments arguments);

// CutTools.cpp
Call cutRanges(ToolContext context, ToolArguments arguments);
Call cutFillers(ToolContext context, ToolArguments arguments);
Call tightenPauses(ToolContext context, ToolArguments arguments);
Call undo(ToolContext context, ToolArguments arguments);

// TrimTool.cpp
Call trim(ToolContext context, ToolArguments arguments);

// VideoTools.cpp
Call getFrame(ToolContext context, ToolArguments arguments);
Call exportVideo(ToolContext context, ToolArguments arguments);
Call share(ToolContext context, ToolArguments arguments);

// OpenTool.cpp
Call openTake(ToolContext context, ToolArguments arguments);

} // namespace Tools

} // namespace kelmo
