#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QTcpServer>
#include <QUrl>

namespace kelmo {

/// An HTTP server on loopback that keeps each request's head and body. Lives on the main thread, whose event loop runs
/// only while the test waits here.
class CaptureServer {
public:
    CaptureServer();

    [[nodiscard]] QUrl url() const;

    /// Whether `count` requests have come, within a time that is generous for a busy machine.
    [[nodiscard]] bool waitFor(int count);

    /// Fails the test when anybody connects within a moment.
    void expectSilence();

    /// The properties of the events called `name`.
    [[nodiscard]] QList<QJsonObject> eventsCalled(const QString& name) const;

    QList<QByteArray> heads;
    QList<QJsonObject> bodies;
    int connections = 0;

private:
    void accept();

    QTcpServer m_server;
};

} // namespace kelmo
