#include "agent/ToolResult.h"

#include "agent/JsonText.h"

#include <QJsonArray>

namespace kelmo {

namespace {

QJsonObject textItem(const QString& text)
{
    return {{QStringLiteral("type"), QStringLiteral("text")}, {QStringLiteral("text"), text}};
}

} // namespace

DeferredJson ToolResult::text(DeferredJson document)
{
    return [document = std::move(document)] {
        const QByteArray quoted = JsonText::quoted(document());
        return QByteArray("{\"content\":[{\"text\":" + quoted + ",\"type\":\"text\"}]}");
    };
}

DeferredJson ToolResult::text(const QJsonObject& document)
{
    return text([document] { return JsonText::object(document); });
}

DeferredJson ToolResult::error(const QString& message)
{
    return [message] {
        return JsonText::object({{QStringLiteral("content"), QJsonArray{textItem(QStringLiteral("Error: ") % message)}},
            {QStringLiteral("isError"), true}});
    };
}

DeferredJson ToolResult::picture(const QByteArray& png, const QString& caption)
{
    return [png, caption] {
        const QJsonObject image{{QStringLiteral("type"), QStringLiteral("image")},
            {QStringLiteral("data"), QString::fromLatin1(png.toBase64())},
            {QStringLiteral("mimeType"), QStringLiteral("image/png")}};
        return JsonText::object({{QStringLiteral("content"), QJsonArray{image, textItem(caption)}}});
    };
}

} // namespace kelmo
