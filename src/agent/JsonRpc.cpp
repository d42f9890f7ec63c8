#include "agent/JsonRpc.h"

#include "agent/JsonText.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace kelmo {

namespace {

// Clients compare ids with what they sent, so a number keeps its digits even where a double would not hold them all.
QByteArray idText(const QByteArray& body, const QJsonValue& id)
{
    if (id.isDouble()) {
        QByteArray digits = JsonText::numberAt(body, "id");
        if (!digits.isEmpty() && digits.toDouble() == id.toDouble())
            return digits;
    }
    const QByteArray list = QJsonDocument(QJsonArray{id}).toJson(QJsonDocument::Compact);
    return list.sliced(1, list.size() - 2);
}

} // namespace

std::optional<JsonRpc::Request> JsonRpc::parse(const QByteArray& body)
{
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(body, &problem);
    if (problem.error != QJsonParseError::NoError || !document.isObject() || !JsonText::isStrict(body))
        return std::nullopt;
    const QJsonObject message = document.object();
    const QJsonValue method = message.value(u"method");
    if (!method.isString())
        return std::nullopt;
    Request request{method.toString(), message.value(u"params").toObject(), std::nullopt};
    if (const QJsonValue id = message.value(u"id"); !id.isUndefined())
        request.id = idText(body, id);
    return request;
}

QByteArray JsonRpc::result(const QByteArray& id, const QByteArray& resultJson)
{
    return "{\"id\":" + id + ",\"jsonrpc\":\"2.0\",\"result\":" + resultJson + '}';
}

QByteArray JsonRpc::error(const QByteArray& id, const RPCError& error)
{
    const QJsonObject described{{QStringLiteral("code"), error.code}, {QStringLiteral("message"), error.message}};
    return "{\"error\":" + JsonText::object(described) + ",\"id\":" + id + ",\"jsonrpc\":\"2.0\"}";
}

} // namespace kelmo
