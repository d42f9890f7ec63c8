#pragma once

#include <QByteArray>

#include <vector>

namespace kelmo {

/// One complete HTTP request as far as the server looks at it. A plain value.
struct HTTPRequest {
    QByteArray method; ///< case kept
    QByteArray path; ///< with any query string
    std::vector<QByteArray> hosts; ///< the value of each Host header
    std::vector<QByteArray> origins; ///< the value of each Origin header
    QByteArray body; ///< exactly as many bytes as declared

    bool operator==(const HTTPRequest&) const = default;

    /// Nothing in the request says that it came from a web page or was meant for another machine: every Host and every
    /// Origin is a loopback one. Command-line clients send no Origin at all.
    [[nodiscard]] bool isLocal() const;
};

} // namespace kelmo
