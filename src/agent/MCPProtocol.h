#pragma once

#include "agent/DeferredJson.h"
#include "agent/JsonRpc.h"
#include "agent/ToolContext.h"

namespace kelmo {

/// The methods of the Model Context Protocol that the editor answers. There is no session: every request stands for
/// itself. Main thread only.
namespace MCPProtocol {

/// Carries out one method. A tool that fails answers with a result that says so; only a method, a tool or arguments
/// that are wrong are an error.
QCoro::Task<tl::expected<DeferredJson, RPCError>> dispatch(ToolContext context, JsonRpc::Request request);

} // namespace MCPProtocol

} // namespace kelmo
