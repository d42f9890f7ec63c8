#pragma once

#include "agent/ClientSocket.h"
#include "agent/HTTPLimits.h"
#include "agent/HTTPRequestReader.h"

#include <QObject>
#include <QTimer>

namespace kelmo {

/// One client: reads one request, sends one response, closes. Owned by the listener and on its thread. A client that
/// only ends its own sending after the request still gets its answer.
class HTTPConnection : public QObject {
    Q_OBJECT

public:
    /// Takes over a connected socket and starts to read.
    HTTPConnection(qintptr descriptor, const HTTPLimits& limits, QObject* parent);

    /// Sends the response and closes. A call before `requestReceived`, a second one and one after the client has gone
    /// do nothing. The content type is left out when the body is empty.
    void send(int status, const QByteArray& body, const QByteArray& contentType);

    /// Answers right away, without having read a request, and closes.
    void refuse(int status);

Q_SIGNALS:
    /// Once at most.
    void requestReceived(const kelmo::HTTPRequest& request);
    /// The last signal; the owner deletes the connection.
    void closed();

private:
    enum class Phase { Reading, Answering, Sending, Lingering, Closed };

    void readyRead();
    void readRequest();
    void discard();
    void sent();
    void close();

    ClientSocket m_socket;
    HTTPLimits m_limits;
    HTTPRequestReader m_reader;
    QTimer m_silence;
    Phase m_phase = Phase::Reading;
};

} // namespace kelmo
