#include "agent/EditJson.h"
#include "agent/Tools.h"

namespace kelmo {

namespace {

QJsonObject editAfterwards(const Editor& editor)
{
    return {{QStringLiteral("editedDurationMs"), editor.timeline().durationMs},
        {QStringLiteral("cuts"), EditJson::pairs(editor.cuts().spans)}};
}

QJsonObject statusAfterwards(const Editor& editor)
{
    return {{QStringLiteral("editedDurationMs"), editor.timeline().durationMs},
        {QStringLiteral("status"), editor.status().value_or(QString())}};
}

} // namespace

Tools::Call Tools::cutRanges(ToolContext context, ToolArguments arguments)
{
    Editor& editor = *context.editor;
    const auto ranges = arguments.spans(QStringLiteral("ranges"));
    if (!ranges)
        co_return tl::unexpected(ranges.error());
    const auto indices = arguments.indices(QStringLiteral("wordIndices"));
    if (!indices)
        co_return tl::unexpected(indices.error());
    std::vector<Span> all = *ranges;
    const std::vector<Span> wordSpans = editor.wordSpans(*indices);
    all.insert(all.end(), wordSpans.begin(), wordSpans.end());
    if (arguments.flag(u"restore")) {
        editor.restoreRanges(all);
    } else {
        Cuts cuts = editor.cuts();
        cuts.add(all);
        editor.setCuts(std::move(cuts), QStringLiteral("Cut Ranges"));
    }
    QJsonObject document = editAfterwards(editor);
    document.insert(QStringLiteral("applied"), EditJson::ranges(all));
    co_return ToolResult::text(document);
}

Tools::Call Tools::cutFillers(ToolContext context, ToolArguments)
{
    context.editor->cutFillers();
    co_return ToolResult::text(statusAfterwards(*context.editor));
}

Tools::Call Tools::tightenPauses(ToolContext context, ToolArguments)
{
    context.editor->tightenPauses();
    co_return ToolResult::text(statusAfterwards(*context.editor));
}

Tools::Call Tools::undo(ToolContext context, ToolArguments)
{
    context.editor->undo().undo();
    co_return ToolResult::text(editAfterwards(*context.editor));
}

} // namespace kelmo
