#pragma once

#include "agent/DeferredJson.h"
#include "agent/RPCError.h"

#include <QJsonObject>
#include <QString>

#include <tl/expected.hpp>

namespace kelmo {

/// What a tool call comes to: a result, which may itself report a failure, or a call that was made wrongly.
using ToolOutcome = tl::expected<DeferredJson, RPCError>;

/// The forms of a tool's result. Pure functions for any thread.
namespace ToolResult {

/// One text item that holds a JSON document.
[[nodiscard]] DeferredJson text(DeferredJson document);
[[nodiscard]] DeferredJson text(const QJsonObject& document);

/// The operation failed; `message` is one sentence for the user.
[[nodiscard]] DeferredJson error(const QString& message);

/// A picture with a line of text.
[[nodiscard]] DeferredJson picture(const QByteArray& png, const QString& caption);

} // namespace ToolResult

} // namespace kelmo
