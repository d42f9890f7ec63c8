#pragma once

#include "agent/MCPServer.h"
#include "tests/agent/RawClient.h"
#include "tests/fakes/ShareServer.h"
#include "tests/support/TemporaryHome.h"

#include <gtest/gtest.h>

namespace kelmo {

/// A real server on a free port with a real editor behind it, in a home folder of its own.
class ServerFixture : public testing::Test {
protected:
    ServerFixture();
    ~ServerFixture() override;

    /// Starts the server; once.
    void serve(const HTTPLimits& limits = {});
    void stopServing() { m_server.reset(); }

    /// Gives the user a share server, to be called before `serve`, that makes links only after `delay`. They begin
    /// with "https://example.com/v/".
    void startShareServer(std::chrono::milliseconds delay = {});

    /// Writes the small take, opens it and waits until its media is there.
    void openSmallTake(double seconds = 10);
    [[nodiscard]] QString takesFolder() const { return m_home.file(QStringLiteral("takes/x")).chopped(2); }

    /// What comes back for these bytes until the server closes.
    [[nodiscard]] QByteArray exchange(const QByteArray& bytes) const;
    /// The JSON-RPC response to one method.
    [[nodiscard]] QJsonObject request(const QString& method, const QJsonObject& params = {}) const;
    /// The result of one tool.
    [[nodiscard]] QJsonObject tool(const QString& name, const QJsonObject& arguments = {}) const;
    /// The document in a tool's text; fails the test when it reports an error.
    [[nodiscard]] QJsonObject document(const QString& name, const QJsonObject& arguments = {}) const;
    [[nodiscard]] QString log() const;

    TemporaryHome m_home;
    Editor m_editor{Editor::Sound::Muted};
    std::unique_ptr<ShareServer> m_shareServer;
    std::unique_ptr<Sharer> m_sharer;
    std::unique_ptr<MCPServer> m_server;
    quint16 m_port = 0;
};

/// A POST of that body to "/mcp".
[[nodiscard]] QByteArray post(const QByteArray& body);
/// A request of that method as a body, with the id 1.
[[nodiscard]] QByteArray rpc(const QString& method, const QJsonObject& params = {});
/// What follows the blank line.
[[nodiscard]] QByteArray bodyOf(const QByteArray& response);

} // namespace kelmo
