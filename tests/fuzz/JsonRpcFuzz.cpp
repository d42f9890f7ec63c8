#include "agent/JsonRpc.h"
#include "agent/JsonText.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cstdlib>

using namespace kelmo;

namespace {

void require(bool condition)
{
    if (!condition)
        std::abort();
}

} // namespace

// Whatever body is taken for a request, the answer to it is JSON, and its id means what the request's id meant.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray body(reinterpret_cast<const char*>(data), qsizetype(size));
    const std::optional<JsonRpc::Request> request = JsonRpc::parse(body);
    if (!request)
        return 0;
    const QJsonObject sent = QJsonDocument::fromJson(body).object();
    require(request->id.has_value() == sent.contains(u"id"));
    const QByteArray id = request->id.value_or("null");
    const QJsonDocument error
        = QJsonDocument::fromJson(JsonRpc::error(id, {RPCError::methodNotFound, request->method}));
    require(error.isObject());
    require(error[u"error"][u"message"].toString() == request->method);
    if (request->id)
        require(error[u"id"] == sent.value(u"id"));

    const QByteArray params = JsonText::object(request->params);
    const QJsonDocument result = QJsonDocument::fromJson(JsonRpc::result(id, JsonText::quoted(params)));
    require(result[u"result"].toString() == QString::fromUtf8(params));
    return 0;
}
