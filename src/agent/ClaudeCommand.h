#pragma once

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <optional>

namespace kelmo {

/// How the `claude` command-line tool is found and called. Pure functions for any thread.
namespace ClaudeCommand {

/// What the tool's names of our tools begin with.
constexpr char toolPrefix[] = "mcp__kelmo-editor__";

/// The first of the tool's usual places where an executable file is. The search path is left alone: a desktop's
/// differs from the shell's, and the user would get one tool here and another there.
[[nodiscard]] std::optional<QString> path();

/// Everything that follows the program's name.
[[nodiscard]] QStringList arguments(const QString& prompt);

/// `current` with a search path that begins at the tool's own folder, where its runtime often lies.
[[nodiscard]] QProcessEnvironment environment(QProcessEnvironment current, const QString& tool);

} // namespace ClaudeCommand

} // namespace kelmo
