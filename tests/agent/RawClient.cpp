#include "tests/agent/RawClient.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <array>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kelmo {

namespace {

sockaddr_in loopback(quint16 port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

// In a process that was forked from one with threads: nothing but system calls.
[[noreturn]] void exchangeInChild(uid_t user, const sockaddr_in& address, const QByteArray& bytes, int output)
{
    const bool isOther = ::syscall(SYS_setresuid, user, user, user) == 0;
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    if (!isOther || ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        ::_exit(1);
    const char* data = bytes.constData();
    for (auto left = size_t(bytes.size()); left > 0;) {
        const ssize_t sent = ::send(socket, data, left, MSG_NOSIGNAL);
        if (sent <= 0)
            break;
        data += sent;
        left -= size_t(sent);
    }
    char chunk[4096];
    for (ssize_t count = 0; (count = ::recv(socket, chunk, sizeof chunk, 0)) > 0;) {
        if (::write(output, chunk, size_t(count)) != count)
            ::_exit(2);
    }
    ::_exit(0);
}

} // namespace

RawClient::RawClient(quint16 port)
    : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    const sockaddr_in address = loopback(port);
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

QByteArray exchangeAs(uid_t user, quint16 port, const QByteArray& bytes)
{
    int ends[2];
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    const sockaddr_in address = loopback(port);
    const pid_t child = ::fork();
    if (child == 0)
        exchangeInChild(user, address, bytes, ends[1]);
    ::close(ends[1]);
    QByteArray all;
    std::array<char, 4096> chunk;
    for (ssize_t count = 0; (count = ::read(ends[0], chunk.data(), chunk.size())) > 0;)
        all.append(chunk.data(), count);
    ::close(ends[0]);
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "the other user's process failed";
    return all;
}

} // namespace kelmo
