#pragma once

#include "agent/Tools.h"

#include <QJsonObject>

namespace kelmo {

/// The list of tools that agents see and call: one row for each, and nothing else to touch when there is one more. It
/// is built on first use and never changes; any thread may read it.
namespace ToolCatalogue {

/// What an agent may expect of a tool before it asks its user.
struct Hints {
    bool readOnly = false;
    bool destructive = false;
    bool idempotent = false;
    bool openWorld = false; ///< reaches beyond this machine
};

/// One argument, as described to the agent. Descriptions are not enforced.
struct Argument {
    const char* name;
    QJsonObject schema;
    bool required = false;
};

/// Whether a call waits for the media of a take that is being opened.
enum class Media { AsItIs, Loaded };

struct Tool {
    const char* name;
    const char* title;
    Hints hints;
    const char* description; ///< UTF-8
    std::vector<Argument> arguments;
    Tools::Call (*call)(ToolContext, ToolArguments);
    Media media = Media::AsItIs;
};

[[nodiscard]] const std::vector<Tool>& tools();

/// The row of exactly that name; null when there is none.
[[nodiscard]] const Tool* find(const QString& name);

/// What an agent is told when it lists the tools: a JSON object with the key "tools".
[[nodiscard]] QByteArray json();

} // namespace ToolCatalogue

} // namespace kelmo
