#pragma once

#include "agent/HTTPLimits.h"
#include "agent/HTTPRequest.h"
#include "agent/PeerUser.h"

#include <QHash>
#include <QQueue>
#include <QSet>
#include <QTcpServer>

namespace kelmo {

class HTTPConnection;

/// Accepts clients on 127.0.0.1 and hands their requests on; those of other users of the machine are answered 403.
/// Owned by the MCP server; everything here happens on the thread it was moved to.
class HTTPListener : public QTcpServer {
    Q_OBJECT

public:
    explicit HTTPListener(const HTTPLimits& limits);
    ~HTTPListener() override;

    /// Binds the port (0: any free one) and starts to accept. The outcome is logged and signalled.
    void start(quint16 port);

    /// Answers one request. Nothing happens when the client has gone meanwhile.
    void send(quint64 connection, int status, const QByteArray& body = {}, const QByteArray& contentType = {});

Q_SIGNALS:
    void listening(quint16 port);
    void requestReceived(quint64 connection, const kelmo::HTTPRequest& request);

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    [[nodiscard]] bool isWelcome(qintptr descriptor);
    void refuse(qintptr descriptor);
    HTTPConnection& serve(qintptr descriptor);
    void closed(quint64 number);

    HTTPLimits m_limits;
    QHash<quint64, HTTPConnection*> m_connections;
    quint64 m_lastConnection = 0;
    PeerUser m_peerUser;
    QSet<qint64> m_refusedUsers; ///< each is logged once
    QQueue<qintptr> m_waiting; ///< accepted, but not served yet because too many others are
};

} // namespace kelmo
