#include "tests/agent/RawClient.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <array>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kelmo {

RawClient::RawClient(quint16 port)
    : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
}

RawClient::~RawClient() { ::close(m_socket); }

bool RawClient::send(const QByteArray& bytes)
{
    qsizetype sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count = ::send(m_socket, bytes.constData() + sent, size_t(bytes.size() - sent), MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        sent += count;
    }
    return true;
}

void RawClient::endSending() { ::shutdown(m_socket, SHUT_WR); }

QByteArray RawClient::readToEnd(std::chrono::milliseconds timeout)
{
    QByteArray all;
    std::array<char, 65536> chunk;
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        const auto left
            = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd waiting{m_socket, POLLIN, 0};
        m_timedOut = left.count() <= 0 || ::poll(&waiting, 1, int(left.count())) == 0;
        if (m_timedOut)
            return all;
        const ssize_t count = ::recv(m_socket, chunk.data(), chunk.size(), 0);
        if (count <= 0)
            return all;
        all.append(chunk.data(), count);
    }
}

} // namespace kelmo
