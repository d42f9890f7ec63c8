#pragma once

#include <QString>

namespace kelmo {

/// A call that cannot be carried out as it was made. It becomes the JSON-RPC error of the answer.
struct RPCError {
    static constexpr int parseError = -32700;
    static constexpr int methodNotFound = -32601;
    static constexpr int invalidParams = -32602;
    static constexpr int internalError = -32603;

    int code = internalError;
    QString message;

    bool operator==(const RPCError&) const = default;
};

} // namespace kelmo
