#include "agent/EditJson.h"
#include "agent/Tools.h"
#include "model/TrimSnapping.h"

namespace kelmo {

namespace {

using Side = tl::expected<std::optional<double>, RPCError>;

tl::expected<std::optional<int>, RPCError> wordArgument(
    const ToolArguments& arguments, const QString& name, size_t wordCount)
{
    const std::optional<qint64> index = arguments.integer(name);
    if (!index)
        return std::nullopt;
    const auto count = static_cast<qint64>(wordCount);
    if (*index < 0 || *index >= count) {
        return tl::unexpected(RPCError{RPCError::invalidParams,
            QStringLiteral("%1 %2 is out of range (0–%3)").arg(name).arg(*index).arg(count - 1)});
    }
    return static_cast<int>(*index);
}

// Where the edit is to start; nothing leaves the head as it is.
Side inSide(const Editor& editor, const ToolArguments& arguments)
{
    const auto word = wordArgument(arguments, QStringLiteral("startWord"), editor.words().size());
    if (!word)
        return tl::unexpected(word.error());
    if (*word)
        return EditOps::trimInBefore(**word, editor.words(), editor.sourceDurationMs());
    const std::optional<double> ms = arguments.number(u"startMs");
    if (!ms || arguments.flag(u"exact"))
        return ms;
    return TrimSnapping::snapIn(*ms, editor.words(), editor.sourceDurationMs());
}

// Where the edit is to end; nothing leaves the tail as it is.
Side outSide(const Editor& editor, const ToolArguments& arguments)
{
    const auto word = wordArgument(arguments, QStringLiteral("endWord"), editor.words().size());
    if (!word)
        return tl::unexpected(word.error());
    if (*word)
        return EditOps::trimOutAfter(**word, editor.words(), editor.sourceDurationMs());
    const std::optional<double> ms = arguments.number(u"endMs");
    if (!ms || arguments.flag(u"exact"))
        return ms;
    return TrimSnapping::snapOut(*ms, editor.words(), editor.sourceDurationMs());
}

// Clearing resets the side that is not given. Answers why the editor refused, if it did.
std::optional<QString> apply(Editor& editor, std::optional<double> in, std::optional<double> out, bool clear)
{
    if (!in && !out) {
        if (clear)
            editor.clearTrim();
        return std::nullopt;
    }
    if (clear && !in)
        in = 0;
    if (clear && !out)
        out = Cuts::noTrimOut;
    return editor.trim(in, out, QStringLiteral("Trim"));
}

} // namespace

Tools::Call Tools::trim(ToolContext context, ToolArguments arguments)
{
    Editor& editor = *context.editor;
    const Side in = inSide(editor, arguments);
    if (!in)
        co_return tl::unexpected(in.error());
    const Side out = outSide(editor, arguments);
    if (!out)
        co_return tl::unexpected(out.error());
    if (const std::optional<QString> refusal = apply(editor, *in, *out, arguments.flag(u"clear")))
        co_return ToolResult::error(*refusal);
    co_return ToolResult::text(QJsonObject{
        {QStringLiteral("trim"), EditJson::trim(editor.cuts(), editor.sourceDurationMs())},
        {QStringLiteral("editedDurationMs"), std::round(editor.timeline().durationMs)},
        {QStringLiteral("keep"), EditJson::roundedPairs(editor.timeline().keep)},
    });
}

} // namespace kelmo
