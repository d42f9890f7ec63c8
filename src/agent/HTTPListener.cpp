#include "agent/HTTPListener.h"

#include "agent/HTTPConnection.h"
#include "telemetry/Log.h"

#include <QTimer>

namespace kelmo {

namespace {

constexpr std::chrono::seconds retryAfter{1};

} // namespace

HTTPListener::HTTPListener(const HTTPLimits& limits)
    : m_limits(limits)
{
    // One accepted client at a time waits to be taken; while it does, the others stay in the system's own queue.
    setMaxPendingConnections(1);
    setListenBacklogSize(m_limits.connections);
    connect(this, &QTcpServer::newConnection, this, &HTTPListener::serveWaiting);
    // The system may be out of file handles for a while. Qt stops accepting then and leaves it to us to go on.
    connect(this, &QTcpServer::acceptError, this, [this] {
        Log::line(u"error", QStringLiteral("mcp accept: ") % errorString());
        QTimer::singleShot(retryAfter, this, [this] { resumeAccepting(); });
    });
}

void HTTPListener::start(quint16 port)
{
    // On this platform a listening socket reuses its address without being asked.
    if (!listen(QHostAddress::LocalHost, port)) {
        Log::line(u"error", QStringLiteral("mcp listener failed: ") % errorString());
        return;
    }
    Log::line(u"mcp", QStringLiteral("listening on http://127.0.0.1:%1/mcp").arg(serverPort()));
    Q_EMIT listening(serverPort());
}

void HTTPListener::send(quint64 connection, int status, const QByteArray& body, const QByteArray& contentType)
{
    if (HTTPConnection* const found = m_connections.value(connection))
        found->send(status, body, contentType);
}

void HTTPListener::incomingConnection(qintptr descriptor)
{
    auto* socket = new QTcpSocket(this);
    socket->setSocketDescriptor(
        descriptor, QAbstractSocket::ConnectedState, QIODevice::ReadWrite | QIODevice::Unbuffered);
    addPendingConnection(socket);
}

void HTTPListener::serveWaiting()
{
    while (m_connections.size() < m_limits.connections && hasPendingConnections()) {
        auto* connection = new HTTPConnection(nextPendingConnection(), m_limits, this);
        const quint64 number = ++m_lastConnection;
        m_connections.insert(number, connection);
        connect(connection, &HTTPConnection::requestReceived, this,
            [this, number](const HTTPRequest& request) { Q_EMIT requestReceived(number, request); });
        connect(connection, &HTTPConnection::closed, this, [this, number, connection] {
            m_connections.remove(number);
            connection->deleteLater();
            serveWaiting();
        });
    }
}

} // namespace kelmo
