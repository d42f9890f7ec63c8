#include "agent/Tools.h"

#include <climits>

namespace kelmo {

Tools::Call Tools::openTake(ToolContext context, ToolArguments arguments)
{
    Editor& editor = *context.editor;
    const std::optional<QString> path = arguments.string(u"path");
    // To open another take than the one that was meant would lose the edit.
    if (!path && arguments.isGiven(u"path"))
        co_return tl::unexpected(RPCError{RPCError::invalidParams, QStringLiteral("path must be a string")});
    if (path && path->size() > PATH_MAX) {
        co_return tl::unexpected(
            RPCError{RPCError::invalidParams, QStringLiteral("path is longer than %1 characters").arg(PATH_MAX)});
    }
    if (path)
        editor.open(*path);
    else
        editor.openNewest();
    co_return ToolResult::text(QJsonObject{
        {QStringLiteral("opened"), editor.take() ? QJsonValue(editor.take()->base) : QJsonValue()},
        {QStringLiteral("words"), static_cast<qint64>(editor.words().size())},
    });
}

} // namespace kelmo
