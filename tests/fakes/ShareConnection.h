#pragma once

#include "tests/fakes/ShareServer.h"

namespace kelmo {

/// One client of the share server, on its own thread.
class ShareServer::Connection {
public:
    Connection(ShareServer& server, int socket);

    /// Serves requests until the connection closes.
    void run();

private:
    [[nodiscard]] bool readHead(Request& request);
    [[nodiscard]] bool readBody(const Request& request, const std::function<bool(const char*, qint64)>& take);
    [[nodiscard]] bool serve(Request& request);
    [[nodiscard]] bool spoil(const Handling& handling);
    [[nodiscard]] ShareBook::Reply carryOut(const Request& request, const QByteArray& body, const QString& partFile);
    [[nodiscard]] bool answer(const ShareBook::Reply& reply);
    [[nodiscard]] bool sendFile(const QString& path, const QByteArray& type);
    [[nodiscard]] bool get(const Request& request);
    [[nodiscard]] bool write(const QByteArray& bytes);
    [[nodiscard]] bool read();
    [[nodiscard]] bool waits(std::chrono::milliseconds time) const;

    ShareServer& m_server;
    const int m_socket;
    QByteArray m_buffer; ///< Read and not used yet.
    std::vector<char> m_chunk;
};

} // namespace kelmo
