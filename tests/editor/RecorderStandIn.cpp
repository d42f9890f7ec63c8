#include "tests/editor/RecorderStandIn.h"

#include <QDir>
#include <QTcpSocket>

namespace kelmo {

namespace {

constexpr quint16 recorderPort = 43120;
constexpr int patienceMs = 30'000;

} // namespace

RecorderStandIn::RecorderStandIn()
    : m_lock(QDir::temp().filePath(QStringLiteral("kelmo-test-recorder.lock")))
{
    QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
        while (QTcpSocket* connection = m_server.nextPendingConnection())
            serve(connection);
    });
}

bool RecorderStandIn::reserve() { return m_lock.tryLock(patienceMs); }

bool RecorderStandIn::listen() { return reserve() && m_server.listen(QHostAddress::LocalHost, recorderPort); }

void RecorderStandIn::serve(QTcpSocket* connection)
{
    const qsizetype number = m_requests.size();
    m_requests.append(QByteArray());
    QObject::connect(connection, &QTcpSocket::readyRead, &m_server, [this, connection, number] {
        m_requests[number] += connection->readAll();
        if (m_requests[number].contains("\r\n\r\n"))
            connection->write("HTTP/1.1 202 Accepted\r\nContent-Length: 0\r\n\r\n");
    });
    QObject::connect(connection, &QTcpSocket::disconnected, connection, &QObject::deleteLater);
}

} // namespace kelmo
