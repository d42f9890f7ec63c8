#include "agent/MCPProtocol.h"

#include "agent/JsonText.h"
#include "agent/ToolCatalogue.h"

namespace kelmo {

namespace {

using Outcome = tl::expected<DeferredJson, RPCError>;

// The first is what a client gets that asks for another one, or for none.
const QStringList& protocolVersions()
{
    static const QStringList versions{
        QStringLiteral("2025-06-18"), QStringLiteral("2025-03-26"), QStringLiteral("2024-11-05")};
    return versions;
}

QString instructions()
{
    return QStringLiteral("Edits the take open in the Vorlix editor. Times are milliseconds. Cuts and trim are on the "
                          "SOURCE clock (the raw screen file, same as transcript word startMs/endMs); get_frame takes "
                          "EDITED time (after cuts). Call get_transcript first.");
}

DeferredJson initialize(const QJsonObject& params)
{
    const QString wanted = params.value(u"protocolVersion").toString();
    const QString version = protocolVersions().contains(wanted) ? wanted : protocolVersions().first();
    const QJsonObject result{
        {QStringLiteral("protocolVersion"), version},
        {QStringLiteral("capabilities"), QJsonObject{{QStringLiteral("tools"), QJsonObject()}}},
        {QStringLiteral("serverInfo"),
            QJsonObject{{QStringLiteral("name"), QStringLiteral("kelmo-editor")},
                {QStringLiteral("version"), QStringLiteral("0.0.1")}}},
        {QStringLiteral("instructions"), instructions()},
    };
    return [result] { return JsonText::object(result); };
}

QCoro::Task<Outcome> callTool(ToolContext context, QJsonObject params)
{
    const QString name = params.value(u"name").toString();
    const ToolCatalogue::Tool* const tool = ToolCatalogue::find(name);
    if (!tool)
        co_return tl::unexpected(RPCError{RPCError::invalidParams, QStringLiteral("Unknown tool: ") % name});
    if (tool->media == ToolCatalogue::Media::Loaded) {
        QCoro::Task<Result<void>> loading = context.editor->whenLoaded();
        const Result<void> loaded = co_await loading;
        if (!loaded)
            co_return ToolResult::error(userText(loaded.error()));
        if (!context.sharer)
            co_return ToolResult::error(QStringLiteral("The editor is quitting"));
    }
    const ToolArguments arguments(params.value(u"arguments").toObject());
    co_return co_await tool->call(context, arguments);
}

} // namespace

QCoro::Task<Outcome> MCPProtocol::dispatch(ToolContext context, JsonRpc::Request request)
{
    if (request.method == QLatin1String("initialize"))
        co_return initialize(request.params);
    if (request.method == QLatin1String("ping"))
        co_return DeferredJson([] { return QByteArray("{}"); });
    if (request.method == QLatin1String("tools/list"))
        co_return DeferredJson(ToolCatalogue::json);
    if (request.method == QLatin1String("tools/call"))
        co_return co_await callTool(context, request.params);
    co_return tl::unexpected(RPCError{RPCError::methodNotFound, QStringLiteral("Method not found: ") % request.method});
}

} // namespace kelmo
