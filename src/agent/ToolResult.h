#pragma once

#include "agent/LaterJson.h"
#include "agent/RPCError.h"

#include <QJsonObject>
#include <QString>

#include <tl/expected.hpp>

namespace kelmo {

/// What a tool call comes to: a result, which may itself report a failure, or a call that was made wrongly.
using ToolOutcome = tl::expected<LaterJson, RPCError>;

/// The forms of a tool's result. Pure functions for any thread.
namespace ToolResult {

/// One text item that holds a JSON document.
[[nodiscard]] LaterJson text(LaterJson document);
[[nodiscard]] LaterJson text(const QJsonObject& document);

/// The operation failed; `message` is one sentence for the user.
[[nodiscard]] LaterJson error(const QString& message);

/// A picture with a line of text.
[[nodiscard]] LaterJson picture(const QByteArray& png, const QString& caption);

} // namespace ToolResult

} // namespace kelmo
