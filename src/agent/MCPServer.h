#pragma once

#include "agent/DeferredJson.h"
#include "agent/HTTPLimits.h"
#include "agent/HTTPRequest.h"
#include "agent/JsonRpc.h"
#include "agent/ToolContext.h"

#include <QObject>
#include <QThread>

namespace kelmo {

class HTTPListener;

/// The editor's door for agents: answers JSON-RPC messages posted to "/mcp" on 127.0.0.1. Owned by the application,
/// lives on the main thread, where the calls are carried out. Connections, parsing and the writing of answers happen on
/// a thread of its own, "kelmo.editor.mcp", which the destructor stops; calls still running then go unanswered.
class MCPServer : public QObject {
    Q_OBJECT

public:
    /// Requires: editor and sharer outlive the server. Port 0 means any free port.
    MCPServer(Editor& editor, Sharer& sharer, quint16 port, const HTTPLimits& limits = {});
    ~MCPServer() override;

    /// Starts to listen, once. A port that is taken is logged; there is no second attempt.
    void start();

Q_SIGNALS:
    void listening(quint16 port);

private:
    void receive(quint64 connection, const HTTPRequest& request);
    void handleBody(quint64 connection, const QByteArray& body);
    QCoro::Task<> answer(quint64 connection, JsonRpc::Request request);
    void reply(quint64 connection, DeferredJson response);

    const ToolContext m_context;
    const quint16 m_port;
    QThread m_thread;
    HTTPListener* m_listener; ///< lives on m_thread and goes with it
};

} // namespace kelmo
