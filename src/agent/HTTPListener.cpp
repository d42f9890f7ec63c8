#include "agent/HTTPListener.h"

#include "agent/ClientSocket.h"
#include "agent/HTTPConnection.h"
#include "telemetry/Log.h"

#include <QTimer>

namespace kelmo {

namespace {

constexpr std::chrono::seconds retryAfter{1};
constexpr uid_t root = 0;
constexpr qint64 unknownUser = -1;

} // namespace

HTTPListener::HTTPListener(const HTTPLimits& limits)
    : m_limits(limits)
{
    setListenBacklogSize(m_limits.connections);
    // The system may be out of file handles for a while. Qt stops accepting then and leaves it to us to go on.
    connect(this, &QTcpServer::acceptError, this, [this] {
        Log::line(u"error", QStringLiteral("mcp accept: ") % errorString());
        QTimer::singleShot(retryAfter, this, [this] { resumeAccepting(); });
    });
}

HTTPListener::~HTTPListener()
{
    while (!m_waiting.isEmpty())
        ClientSocket(m_waiting.dequeue(), nullptr);
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
    if (!isWelcome(descriptor)) {
        refuse(descriptor);
        return;
    }
    if (m_connections.size() < m_limits.connections) {
        serve(descriptor);
        return;
    }
    // Accepting ends only when the system's queue is empty, so those that were in it wait here.
    m_waiting.enqueue(descriptor);
    pauseAccepting();
}

bool HTTPListener::isWelcome(qintptr descriptor)
{
    const std::optional<uid_t> user = m_peerUser.of(int(descriptor));
    if (user == m_limits.user || user == root)
        return true;
    const qint64 number = user ? qint64(*user) : unknownUser;
    if (!m_refusedUsers.contains(number)) {
        m_refusedUsers.insert(number);
        Log::line(u"mcp",
            user ? QStringLiteral("refused a connection of user %1").arg(number)
                 : QStringLiteral("refused a connection whose user the system does not tell"));
    }
    return false;
}

void HTTPListener::refuse(qintptr descriptor)
{
    if (m_connections.size() < m_limits.connections)
        serve(descriptor).refuse(403);
    else
        ClientSocket(descriptor, nullptr);
}

HTTPConnection& HTTPListener::serve(qintptr descriptor)
{
    auto* connection = new HTTPConnection(descriptor, m_limits, this);
    const quint64 number = ++m_lastConnection;
    m_connections.insert(number, connection);
    connect(connection, &HTTPConnection::requestReceived, this,
        [this, number](const HTTPRequest& request) { Q_EMIT requestReceived(number, request); });
    connect(connection, &HTTPConnection::closed, this, [this, number] { closed(number); });
    return *connection;
}

void HTTPListener::closed(quint64 number)
{
    m_connections.take(number)->deleteLater();
    if (!m_waiting.isEmpty())
        serve(m_waiting.dequeue());
    else
        resumeAccepting();
}

} // namespace kelmo
