#include "agent/MCPServer.h"

#include "agent/HTTPListener.h"
#include "agent/MCPProtocol.h"
#include "platform/MonotonicClock.h"
#include "telemetry/Log.h"

#include <exception>

namespace kelmo {

namespace {

using Outcome = tl::expected<DeferredJson, RPCError>;

const QByteArray jsonType("application/json");
constexpr qsizetype maxLoggedName = 64;

QCoro::Task<Outcome> dispatchSafely(ToolContext context, JsonRpc::Request request)
{
    // Nothing of ours throws, but a library may, when memory runs out; that must cost one call and not the program.
    try {
        co_return co_await MCPProtocol::dispatch(context, request);
    } catch (const std::exception& exception) {
        co_return tl::unexpected(RPCError{RPCError::internalError, QString::fromUtf8(exception.what())});
    }
}

void logCall(const JsonRpc::Request& request, double startedAt)
{
    if (request.method != QLatin1String("tools/call"))
        return;
    const QString name = Log::printable(request.params.value(u"name").toString(QStringLiteral("?")), maxLoggedName);
    const QString elapsed = QString::number(MonotonicClock::nowMs() - startedAt, 'f', 0);
    Log::line(u"mcp", name % QStringLiteral(" in ") % elapsed % QStringLiteral(" ms"));
}

} // namespace

MCPServer::MCPServer(Editor& editor, Sharer& sharer, quint16 port, const HTTPLimits& limits)
    : m_context{&editor, &sharer}
    , m_port(port)
    , m_listener(new HTTPListener(limits))
{
    m_thread.setObjectName(QStringLiteral("kelmo.editor.mcp"));
    m_listener->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, m_listener, &QObject::deleteLater);
    connect(m_listener, &HTTPListener::listening, this, &MCPServer::listening);
    // On the listener's thread. The destructor waits for that thread, so this object is there for as long as it runs.
    connect(m_listener, &HTTPListener::requestReceived, m_listener,
        [this](quint64 connection, const HTTPRequest& request) { receive(connection, request); });
    m_thread.start();
}

MCPServer::~MCPServer()
{
    m_thread.quit();
    m_thread.wait();
}

void MCPServer::start()
{
    QMetaObject::invokeMethod(m_listener, [listener = m_listener, port = m_port] { listener->start(port); });
}

void MCPServer::receive(quint64 connection, const HTTPRequest& request)
{
    if (!request.isLocal())
        m_listener->send(connection, 403);
    else if (!request.path.startsWith("/mcp"))
        m_listener->send(connection, 404);
    else if (request.method != "POST")
        m_listener->send(connection, 405);
    else
        handleBody(connection, request.body);
}

void MCPServer::handleBody(quint64 connection, const QByteArray& body)
{
    const std::optional<JsonRpc::Request> request = JsonRpc::parse(body);
    if (!request) {
        const RPCError error{RPCError::parseError, QStringLiteral("Parse error")};
        m_listener->send(connection, 400, JsonRpc::error("null", error), jsonType);
        return;
    }
    if (!request->id) {
        m_listener->send(connection, 202);
        return;
    }
    QMetaObject::invokeMethod(this, [this, connection, request] { answer(connection, *request); });
}

QCoro::Task<> MCPServer::answer(quint64 connection, JsonRpc::Request request)
{
    const QPointer<MCPServer> self(this);
    const double startedAt = MonotonicClock::nowMs();
    const Outcome outcome = co_await dispatchSafely(m_context, request);
    logCall(request, startedAt);
    if (!self)
        co_return;
    reply(connection, [id = *request.id, outcome] {
        return outcome ? JsonRpc::result(id, (*outcome)()) : JsonRpc::error(id, outcome.error());
    });
}

void MCPServer::reply(quint64 connection, DeferredJson response)
{
    QMetaObject::invokeMethod(m_listener, [listener = m_listener, connection, response = std::move(response)] {
        listener->send(connection, 200, response(), jsonType);
    });
}

} // namespace kelmo
