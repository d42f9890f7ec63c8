#include "agent/Tools.h"

namespace kelmo {

Tools::Call Tools::openTake(ToolContext context, ToolArguments arguments)
{
    Editor& editor = *context.editor;
    if (const std::optional<QString> path = arguments.string(u"path"))
        editor.open(*path);
    else
        editor.openNewest();
    co_return ToolResult::text(QJsonObject{
        {QStringLiteral("opened"), editor.take() ? QJsonValue(editor.take()->base) : QJsonValue()},
        {QStringLiteral("words"), static_cast<qint64>(editor.words().size())},
    });
}

} // namespace kelmo
