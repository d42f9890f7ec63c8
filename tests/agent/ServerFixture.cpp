#include "tests/agent/ServerFixture.h"

#include "telemetry/Log.h"
#include "tests/agent/SmallTake.h"

#include <QSignalSpy>

namespace kelmo {

ServerFixture::ServerFixture()
{
    qputenv("CORVANE_TAKES_DIR", takesFolder().toUtf8());
    qputenv("KELMO_NO_AUTOSHARE", "1");
}

ServerFixture::~ServerFixture()
{
    m_server.reset();
    m_sharer.reset();
    qunsetenv("CORVANE_TAKES_DIR");
    qunsetenv("KELMO_NO_AUTOSHARE");
    Log::flush();
}

void ServerFixture::startShareServer(std::chrono::milliseconds delay)
{
    ShareServer::Options options;
    options.folder = m_home.file(QStringLiteral("shares/x")).chopped(2);
    options.publicUrl = QStringLiteral("https://example.com");
    m_shareServer = std::make_unique<ShareServer>(options);
    m_shareServer->setScript([delay](const ShareServer::Request& request) {
        const bool makesLink = request.path == "/api/shares";
        return ShareServer::Handling{makesLink ? ShareServer::Fault::Slow : ShareServer::Fault::None, 200, {}, delay};
    });
    Sharer::save({m_shareServer->endpoint(), QString::fromLatin1(options.token), false});
}

void ServerFixture::serve(const HTTPLimits& limits)
{
    m_sharer = std::make_unique<Sharer>(m_editor);
    m_server = std::make_unique<MCPServer>(m_editor, *m_sharer, 0, limits);
    QSignalSpy listening(m_server.get(), &MCPServer::listening);
    m_server->start();
    ASSERT_TRUE(listening.wait());
    m_port = listening.first().first().value<quint16>();
}

void ServerFixture::openSmallTake(double seconds)
{
    QSignalSpy built(&m_editor, &Editor::timelineChanged);
    m_editor.open(SmallTake::write(takesFolder(), seconds));
    while (m_editor.sourceDurationMs() == 0)
        ASSERT_TRUE(built.wait()) << qPrintable(m_editor.status().value_or(QStringLiteral("no status")));
}

QByteArray ServerFixture::exchange(const QByteArray& bytes) const
{
    return beside([&] {
        RawClient client(m_port);
        client.send(bytes);
        const QByteArray response = client.readToEnd();
        EXPECT_FALSE(client.timedOut()) << bytes.left(200).toStdString();
        return response;
    });
}

QJsonObject ServerFixture::request(const QString& method, const QJsonObject& params) const
{
    const QByteArray response = exchange(post(rpc(method, params)));
    EXPECT_TRUE(response.startsWith("HTTP/1.1 200 OK\r\n")) << response.left(200).toStdString();
    return QJsonDocument::fromJson(bodyOf(response)).object();
}

QJsonObject ServerFixture::tool(const QString& name, const QJsonObject& arguments) const
{
    const QJsonObject response = request(
        QStringLiteral("tools/call"), {{QStringLiteral("name"), name}, {QStringLiteral("arguments"), arguments}});
    EXPECT_TRUE(response.contains(u"result")) << QJsonDocument(response).toJson().toStdString();
    return response.value(u"result").toObject();
}

QJsonObject ServerFixture::document(const QString& name, const QJsonObject& arguments) const
{
    const QJsonObject result = tool(name, arguments);
    const QString text = result.value(u"content")[0][u"text"].toString();
    EXPECT_FALSE(result.contains(u"isError")) << text.toStdString();
    return QJsonDocument::fromJson(text.toUtf8()).object();
}

QString ServerFixture::log() const
{
    Log::flush();
    return QString::fromUtf8(m_home.read(QStringLiteral("Library/Logs/KelmoEditor.log")));
}

QByteArray post(const QByteArray& body)
{
    return "POST /mcp HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/json\r\nContent-Length: "
        + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

QByteArray rpc(const QString& method, const QJsonObject& params)
{
    return QJsonDocument(QJsonObject{{QStringLiteral("jsonrpc"), QStringLiteral("2.0")}, {QStringLiteral("id"), 1},
                             {QStringLiteral("method"), method}, {QStringLiteral("params"), params}})
        .toJson(QJsonDocument::Compact);
}

QByteArray bodyOf(const QByteArray& response)
{
    const qsizetype blank = response.indexOf("\r\n\r\n");
    return blank < 0 ? QByteArray() : response.sliced(blank + 4);
}

} // namespace kelmo
