#pragma once

#include <QtGlobal>

#include <chrono>
#include <unistd.h>

namespace kelmo {

/// Who may ask the local server, and how much one client may ask of it. Plain values, fixed when the server starts;
/// tests make them smaller.
struct HTTPLimits {
    uid_t user = geteuid(); ///< whose connections are served, besides root's
    qsizetype headBytes = 64 * 1024; ///< everything before the blank line
    qint64 bodyBytes = 64LL * 1024 * 1024; ///< as declared by the client
    int connections = 128; ///< served at once; further ones wait until one of these ends
    std::chrono::milliseconds silence = std::chrono::seconds(60); ///< without a byte from the client, or to it
    std::chrono::milliseconds linger = std::chrono::seconds(1); ///< for the client to close after its answer
};

} // namespace kelmo
