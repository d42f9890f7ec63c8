#include "agent/Tools.h"
#include "agent/TranscriptDocument.h"

namespace kelmo {

Tools::Call Tools::getTranscript(ToolContext context, ToolArguments)
{
    const auto document = std::make_shared<const TranscriptDocument>(*context.editor);
    co_return ToolResult::text([document] { return document->json(); });
}

} // namespace kelmo
