#pragma once

#include "agent/HTTPLimits.h"
#include "agent/HTTPRequest.h"

#include <QByteArrayView>

namespace kelmo {

/// Frames one HTTP request out of bytes that arrive in pieces of any size, looking at each byte once. Owned by one
/// connection; touches nothing but its own memory, so any single thread may use it.
class HTTPRequestReader {
public:
    enum class State {
        Incomplete, ///< more bytes are needed
        Malformed, ///< the request line is none: whatever follows, there will be no request
        TooLarge, ///< head or declared body pass the limits
        Complete,
    };

    explicit HTTPRequestReader(const HTTPLimits& limits = {});

    /// Takes the next bytes. Bytes after the declared body are ignored, as are all bytes in a final state.
    State add(QByteArrayView bytes);

    [[nodiscard]] State state() const { return m_state; }

    /// Requires: the state is Complete. Leaves the reader without the request.
    [[nodiscard]] HTTPRequest takeRequest();

private:
    void addToHead(QByteArrayView bytes);
    void addToBody(QByteArrayView bytes);
    void parseHead();
    void parseHeader(QByteArrayView line);

    HTTPLimits m_limits;
    State m_state = State::Incomplete;
    QByteArray m_head;
    bool m_headEnded = false;
    qint64 m_contentLength = 0;
    HTTPRequest m_request;
};

} // namespace kelmo
