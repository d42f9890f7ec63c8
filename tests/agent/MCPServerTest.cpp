#include "tests/agent/ServerFixture.h"

#include <QNetworkInterface>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTimer>

using namespace kelmo;
using namespace std::chrono_literals;

namespace {

class MCPServerTest : public ServerFixture {
protected:
    // A share whose link is that long in coming, to have a call that is suspended.
    void shareAfter(std::chrono::milliseconds delay, const HTTPLimits& limits = {})
    {
        startShareServer(delay);
        serve(limits);
        openSmallTake(2);
    }
};

const QByteArray ping = R"({"id":1,"jsonrpc":"2.0","method":"ping"})";
const QByteArray pong = "HTTP/1.1 200 OK\r\nContent-Length: 36\r\nConnection: close\r\n"
                        "Content-Type: application/json\r\n\r\n{\"id\":1,\"jsonrpc\":\"2.0\",\"result\":{}}";

QByteArray empty(const QByteArray& status)
{
    return "HTTP/1.1 " + status + "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
}

QByteArray shareCall()
{
    return post(rpc(QStringLiteral("tools/call"), {{QStringLiteral("name"), QStringLiteral("share")}}));
}

} // namespace

TEST_F(MCPServerTest, exchangeEveryFormAnswersExactly)
{
    serve();
    const QByteArray parseError = "HTTP/1.1 400 Bad Request\r\nContent-Length: 75\r\nConnection: "
                                  "close\r\nContent-Type: application/json\r\n\r\n"
                                  R"({"error":{"code":-32700,"message":"Parse error"},"id":null,"jsonrpc":"2.0"})";
    const struct {
        QByteArray sent;
        QByteArray expected;
    } cases[] = {
        {post(ping), pong},
        {post(ping) + "POST /mcp HTTP/1.1\r\n\r\n", pong},
        {post(ping).replace("/mcp", "/mcp/extra?x=1"), pong},
        {"GET /mcp HTTP/1.1\r\n\r\n", empty("405 Method Not Allowed")},
        {"post /mcp HTTP/1.1\r\n\r\n", empty("405 Method Not Allowed")},
        {"DELETE /mcp HTTP/1.1\r\n\r\n", empty("405 Method Not Allowed")},
        {"POST /other HTTP/1.1\r\n\r\n", empty("404 Not Found")},
        {"GET / HTTP/1.1\r\n\r\n", empty("404 Not Found")},
        {"POST http://127.0.0.1/mcp HTTP/1.1\r\n\r\n", empty("404 Not Found")},
        {"POST /mcp HTTP/1.1\r\n\r\n", parseError},
        {post("[]"), parseError},
        {post("[" + ping + "]"), parseError},
        {post("{\"id\":1}"), parseError},
        {post(R"({"jsonrpc":"2.0","method":"notifications/initialized"})"), empty("202 Accepted")},
        {post(R"({"method":"tools/call","params":{"name":"undo"}})"), empty("202 Accepted")},
        {post(ping).replace("Host: 127.0.0.1", "Host: evil.example"), empty("403 Forbidden")},
        {post(ping).replace("Host: 127.0.0.1", "Origin: http://evil.example"), empty("403 Forbidden")},
        {post(ping).replace("Host: 127.0.0.1", "Origin: http://localhost:3000"), pong},
        {"GET / HTTP/1.1\r\nOrigin: null\r\n\r\n", empty("403 Forbidden")},
    };
    for (const auto& each : cases)
        EXPECT_EQ(exchange(each.sent), each.expected) << each.sent.toStdString();
}

TEST_F(MCPServerTest, exchangeRequestInPiecesAnswersOnceAfterTheLastByte)
{
    serve();
    const QByteArray response = beside([this] {
        RawClient client(m_port);
        const QByteArray bytes = post(ping);
        for (const char byte : bytes.chopped(1))
            client.send(QByteArray(1, byte));
        EXPECT_EQ(client.readToEnd(100ms), "");
        client.send(bytes.last(1));
        return client.readToEnd();
    });
    EXPECT_EQ(response, pong);
}

TEST_F(MCPServerTest, exchangeClientThatEndsItsSendingStillGetsTheAnswer)
{
    shareAfter(200ms);
    const QByteArray response = beside([this] {
        RawClient client(m_port);
        client.send(shareCall());
        client.endSending();
        return client.readToEnd();
    });
    EXPECT_TRUE(response.contains("https://example.com/v/1")) << response.toStdString();
}

TEST_F(MCPServerTest, exchangeRequestThatNeverCompletesIsClosedUnanswered)
{
    serve();
    for (const QByteArray& bytes : {QByteArray(), QByteArray("POST"), QByteArray("POST\r\n\r\n"),
             QByteArray("nonsense\r\n\r\nmore"), post(ping).chopped(1)}) {
        beside([&] {
            RawClient client(m_port);
            client.send(bytes);
            EXPECT_EQ(client.readToEnd(50ms), "");
            EXPECT_TRUE(client.timedOut()) << "closed although the client may go on: " << bytes.toStdString();
            client.endSending();
            EXPECT_EQ(client.readToEnd(), "");
            EXPECT_FALSE(client.timedOut()) << bytes.toStdString();
        });
    }
    EXPECT_EQ(exchange(post(ping)), pong);
}

TEST_F(MCPServerTest, exchangeBeyondTheLimitsIsClosedUnanswered)
{
    serve();
    const QByteArray longHead = "POST /mcp HTTP/1.1\r\nX: " + QByteArray(70'000, 'x') + "\r\n\r\n";
    const QByteArray zeros(1'000'000, '\0');
    const QByteArray longBody = "POST /mcp HTTP/1.1\r\nContent-Length: 67108865\r\n\r\n";
    for (const QByteArray& bytes : {longHead, zeros, longBody})
        EXPECT_EQ(exchange(bytes), "");
}

TEST_F(MCPServerTest, exchangeSurplusBytesCannotSpoilTheAnswer)
{
    serve();
    const QByteArray list = exchange(post(rpc(QStringLiteral("tools/list"))));
    const QByteArray garbage(4'000'000, 'x');
    for (int i = 0; i < 10; ++i)
        ASSERT_EQ(exchange(post(rpc(QStringLiteral("tools/list"))) + garbage), list);
}

TEST_F(MCPServerTest, exchangeBodyOfSeveralMegabytesIsAnswered)
{
    serve();
    const QString text(8'000'000, u'x');
    EXPECT_EQ(exchange(post(rpc(QStringLiteral("ping"), {{QStringLiteral("pad"), text}}))), pong);
}

TEST_F(MCPServerTest, exchangeManyClientsAtOnceAllGetTheirAnswer)
{
    serve();
    // More than are served at once: those beyond wait until others are done.
    beside([this] {
        std::vector<std::unique_ptr<RawClient>> clients;
        for (int i = 0; i < 200; ++i) {
            clients.push_back(std::make_unique<RawClient>(m_port));
            clients.back()->send(post(ping).chopped(1));
        }
        for (const auto& client : clients)
            client->send("}");
        for (const auto& client : clients)
            EXPECT_EQ(client->readToEnd(), pong);
    });
}

TEST_F(MCPServerTest, exchangeThousandConnectionsInARowAllAnswered)
{
    serve();
    beside([this] {
        for (int i = 0; i < 1000; ++i) {
            RawClient client(m_port);
            client.send(post(ping));
            ASSERT_EQ(client.readToEnd(), pong) << i;
        }
    });
}

TEST_F(MCPServerTest, silenceLongerThanAllowedClosesButNotWhileAnAnswerIsDue)
{
    HTTPLimits limits;
    limits.silence = 150ms;
    shareAfter(600ms, limits);
    beside([this] {
        RawClient silent(m_port);
        silent.send("POST /mcp");
        RawClient waiting(m_port);
        waiting.send(shareCall());
        EXPECT_EQ(silent.readToEnd(5s), "");
        EXPECT_FALSE(silent.timedOut());
        EXPECT_TRUE(waiting.readToEnd(5s).contains("https://example.com/v/1"));
    });
}

TEST_F(MCPServerTest, clientGoneBeforeTheAnswerHarmsNobody)
{
    shareAfter(100ms);
    beside([this] {
        for (int i = 0; i < 20; ++i) {
            RawClient client(m_port);
            client.send(shareCall());
        }
    });
    EXPECT_TRUE(exchange(shareCall()).contains("https://example.com/v/1"));
}

TEST_F(MCPServerTest, destructionWhileACallIsSuspendedLeavesItUnanswered)
{
    shareAfter(300ms);
    auto response = std::async(std::launch::async, [this] {
        RawClient client(m_port);
        client.send(shareCall());
        return client.readToEnd();
    });
    QTimer::singleShot(100, QCoreApplication::instance(), [this] { stopServing(); });
    while (response.wait_for(1ms) != std::future_status::ready)
        QCoreApplication::processEvents();
    EXPECT_EQ(response.get(), "");
    // The call goes on after its server has gone.
    QTimer later;
    QSignalSpy passed(&later, &QTimer::timeout);
    later.start(400);
    EXPECT_TRUE(passed.wait());
    EXPECT_TRUE(log().contains(QStringLiteral("[mcp] share in ")));
}

TEST_F(MCPServerTest, startPortThatIsTakenIsLogged)
{
    serve();
    MCPServer second(m_editor, *m_sharer, m_port);
    second.start();
    for (int i = 0; i < 2000 && !log().contains(QStringLiteral("[error] mcp listener failed: ")); ++i)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    EXPECT_TRUE(log().contains(QStringLiteral("[error] mcp listener failed: "))) << log().toStdString();
    EXPECT_TRUE(log().contains(QStringLiteral("[mcp] listening on http://127.0.0.1:%1/mcp").arg(m_port)));
    EXPECT_EQ(exchange(post(ping)), pong);
}

TEST_F(MCPServerTest, startIsReachableOnLoopbackOnly)
{
    serve();
    for (const QHostAddress& address : QNetworkInterface::allAddresses()) {
        if (address.isLoopback())
            continue;
        QTcpSocket socket;
        socket.connectToHost(address, m_port);
        EXPECT_FALSE(socket.waitForConnected(500)) << address.toString().toStdString();
    }
}

TEST_F(MCPServerTest, logOneLineForEachToolCallAndNoneForOtherMethods)
{
    serve();
    (void)request(QStringLiteral("initialize"));
    (void)request(QStringLiteral("tools/list"));
    (void)tool(QStringLiteral("get_transcript"));
    (void)request(QStringLiteral("tools/call"), {{QStringLiteral("name"), 7}});
    (void)request(QStringLiteral("tools/call"), {{QStringLiteral("name"), QStringLiteral("nonsense")}});
    for (const QString& name : {QStringLiteral("a\nb\r\x1b\u0085\u2028\u202ec"), QString(5'000'000, u'x')})
        (void)request(QStringLiteral("tools/call"), {{QStringLiteral("name"), name}});
    QStringList tools;
    for (const QString& line : log().split(u'\n')) {
        if (line.contains(QStringLiteral("[mcp] ")) && line.endsWith(QStringLiteral(" ms")))
            tools += line.section(QStringLiteral("[mcp] "), 1).section(u' ', 0, 1);
    }
    EXPECT_EQ(tools,
        (QStringList{QStringLiteral("get_transcript in"), QStringLiteral("? in"), QStringLiteral("nonsense in"),
            QStringLiteral("a?b?????c in"), QString(64, u'x') + QStringLiteral("… in")}));
}

TEST_F(MCPServerTest, connectionsOfOtherUsersAreAnswered403)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "Only root can connect as another user.";
    constexpr uid_t root = 0;
    constexpr uid_t user = 12'345;
    constexpr uid_t stranger = 65'534;
    const struct {
        uid_t server;
        uid_t client;
        QByteArray answer;
    } cases[] = {
        {user, user, pong},
        {user, root, pong},
        {user, stranger, empty("403 Forbidden")},
        {user, stranger, empty("403 Forbidden")},
        {root, root, pong},
        {root, user, empty("403 Forbidden")},
    };
    for (const auto& each : cases) {
        stopServing();
        HTTPLimits limits;
        limits.user = each.server;
        serve(limits);
        for (const QByteArray& bytes : {post(ping), QByteArray(post(ping) + QByteArray(200'000, 'x'))})
            EXPECT_EQ(beside([&] { return exchangeAs(each.client, m_port, bytes); }), each.answer) << each.client;
        EXPECT_EQ(log().count(QStringLiteral("[mcp] refused a connection of user %1").arg(each.client)) > 0,
            each.answer != pong);
    }
}
