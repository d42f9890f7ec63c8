#include "tests/telemetry/CaptureServer.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTcpSocket>

#include <gtest/gtest.h>

namespace kelmo {

namespace {

template <class Done> void passTime(int ms, Done done)
{
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
}

} // namespace

CaptureServer::CaptureServer()
{
    EXPECT_TRUE(m_server.listen(QHostAddress::LocalHost));
    QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] { accept(); });
}

QUrl CaptureServer::url() const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1/i/v0/e/").arg(m_server.serverPort()));
}

bool CaptureServer::waitFor(int count)
{
    passTime(30'000, [this, count] { return bodies.size() >= count; });
    return bodies.size() >= count;
}

void CaptureServer::expectSilence()
{
    const int before = connections;
    passTime(200, [] { return false; });
    EXPECT_EQ(connections, before);
}

QList<QJsonObject> CaptureServer::eventsCalled(const QString& name) const
{
    QList<QJsonObject> found;
    for (const QJsonObject& body : bodies) {
        if (body.value(QLatin1String("event")).toString() == name)
            found.append(body.value(QLatin1String("properties")).toObject());
    }
    return found;
}

void CaptureServer::accept()
{
    ++connections;
    QTcpSocket* socket = m_server.nextPendingConnection();
    auto received = std::make_shared<QByteArray>();
    QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket, received] {
        received->append(socket->readAll());
        const auto end = received->indexOf("\r\n\r\n");
        if (end < 0)
            return;
        const QByteArray head = received->left(end);
        const QRegularExpression length(
            QStringLiteral("content-length: (\\d+)"), QRegularExpression::CaseInsensitiveOption);
        const qsizetype expected = length.match(QString::fromLatin1(head)).captured(1).toLongLong();
        if (received->size() < end + 4 + expected)
            return;
        heads.append(head);
        bodies.append(QJsonDocument::fromJson(received->mid(end + 4, expected)).object());
        received->clear();
        socket->write("HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
        socket->disconnectFromHost();
    });
}

} // namespace kelmo
