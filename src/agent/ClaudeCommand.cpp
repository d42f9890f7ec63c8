#include "agent/ClaudeCommand.h"

#include "platform/Home.h"

#include <QFileInfo>

namespace kelmo {

namespace {

// The tool's own configuration may hold other servers; it is told of this one alone. Always the usual port: on another
// one the editor is a second program, and the window that the user types into is the first.
QString mcpConfiguration()
{
    return QStringLiteral(R"({"mcpServers":{"kelmo-editor":{"type":"http","url":"http://127.0.0.1:7799/mcp"}}})");
}

QString systemPrompt()
{
    return QStringLiteral(
        "You are editing a video in Kelmo, a transcript-first video editor open on the user's Mac. The take is already "
        "open. Use the kelmo-editor tools only: get_transcript (words with indexes) → cut_ranges with wordIndices to "
        "delete words → trim with startWord/endWord (first/last word to keep) for the head and tail → cut_fillers / "
        "tighten_pauses for quick passes → get_frame to look at the video → undo if a cut was wrong. Keep the "
        "speaker's "
        "meaning and voice; cut waffle, repeats, false starts and dead air when asked. Don't export unless asked. "
        "Finish with one or two short sentences saying what you changed.");
}

} // namespace

std::optional<QString> ClaudeCommand::path()
{
    const QString candidates[] = {
        Home::file(QStringLiteral(".local/bin/claude")),
        Home::file(QStringLiteral(".claude/local/claude")),
        QStringLiteral("/opt/homebrew/bin/claude"),
        QStringLiteral("/usr/local/bin/claude"),
    };
    for (const QString& candidate : candidates) {
        const QFileInfo file(candidate);
        if (file.isFile() && file.isExecutable())
            return candidate;
    }
    return std::nullopt;
}

QStringList ClaudeCommand::arguments(const QString& prompt)
{
    return {QStringLiteral("-p"), prompt, QStringLiteral("--output-format"), QStringLiteral("stream-json"),
        QStringLiteral("--verbose"), QStringLiteral("--mcp-config"), mcpConfiguration(),
        QStringLiteral("--strict-mcp-config"), QStringLiteral("--allowedTools"), QStringLiteral("mcp__kelmo-editor"),
        QStringLiteral("--append-system-prompt"), systemPrompt(), QStringLiteral("--max-turns"), QStringLiteral("40")};
}

QProcessEnvironment ClaudeCommand::environment(QProcessEnvironment current, const QString& tool)
{
    const QString name = QStringLiteral("PATH");
    const QString usualFolders = QStringLiteral(":/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin:");
    const QString before = current.value(name);
    current.insert(name, QFileInfo(tool).path() % usualFolders % before);
    return current;
}

} // namespace kelmo
