#pragma once

#include "agent/RPCError.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

namespace kelmo {

/// The JSON-RPC 2.0 envelopes around calls and answers. Pure functions for any thread.
namespace JsonRpc {

/// One call, or a notification when it has no id.
struct Request {
    QString method;
    QJsonObject params; ///< empty when the message has none, or ones in a list
    std::optional<QByteArray> id; ///< as JSON text; "null" is an id like any other
};

/// Nothing unless the body is a JSON object that names a method.
[[nodiscard]] std::optional<Request> parse(const QByteArray& body);

[[nodiscard]] QByteArray result(const QByteArray& id, const QByteArray& resultJson);
[[nodiscard]] QByteArray error(const QByteArray& id, const RPCError& error);

} // namespace JsonRpc

} // namespace kelmo
