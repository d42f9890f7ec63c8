#include "agent/PeerUser.h"

#include <gtest/gtest.h>

#include <sys/fsuid.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace kelmo;

namespace {

/// A connection over the loopback interface, both ends of it here.
class Connection {
public:
    explicit Connection(int family, uid_t clientUser)
        : m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(::bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(m_listener, 1), 0);
        socklen_t size = sizeof address;
        EXPECT_EQ(::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size), 0);
        // A socket belongs to the user who makes it; for that this counts, and only on this thread.
        setfsuid(clientUser);
        m_client = ::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
        setfsuid(geteuid());
        sockaddr_in6 mapped{};
        mapped.sin6_family = AF_INET6;
        mapped.sin6_port = address.sin_port;
        mapped.sin6_addr.s6_addr[10] = mapped.sin6_addr.s6_addr[11] = 0xff;
        memcpy(&mapped.sin6_addr.s6_addr[12], &address.sin_addr, sizeof address.sin_addr);
        isConnected = (family == AF_INET ? ::connect(m_client, reinterpret_cast<sockaddr*>(&address), sizeof address)
                                         : ::connect(m_client, reinterpret_cast<sockaddr*>(&mapped), sizeof mapped))
            == 0;
        server = isConnected ? ::accept(m_listener, nullptr, nullptr) : -1;
    }
    ~Connection()
    {
        closeClient();
        ::close(server);
        ::close(m_listener);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void endSending() const { EXPECT_EQ(::shutdown(m_client, SHUT_WR), 0); }
    void closeClient()
    {
        if (m_client >= 0)
            ::close(std::exchange(m_client, -1));
    }

    [[nodiscard]] PeerUser::Ends ends() const
    {
        PeerUser::Ends ends{};
        socklen_t size = sizeof ends.local;
        EXPECT_EQ(::getpeername(server, reinterpret_cast<sockaddr*>(&ends.local), &size), 0);
        EXPECT_EQ(::getsockname(server, reinterpret_cast<sockaddr*>(&ends.remote), &size), 0);
        return ends;
    }

    bool isConnected = false;
    int server = -1;

private:
    int m_listener;
    int m_client = -1;
};

} // namespace

TEST(PeerUser, everyWayFindsWhoMadeTheSocketUntilItIsClosed)
{
    const PeerUser peerUser;
    const uid_t user = geteuid() == 0 ? 12'345 : geteuid();
    int waysThatWork = 0;
    for (const int family : {AF_INET, AF_INET6}) {
        Connection connection(family, user);
        if (!connection.isConnected && family == AF_INET6)
            continue; // There may be no IPv6 here.
        const PeerUser::Ends ends = connection.ends();
        const auto expectUser = [&](std::optional<uid_t> expected) {
            const std::optional<uid_t> asked = peerUser.fromDiagnostics(ends);
            waysThatWork += asked.has_value() ? 1 : 0;
            EXPECT_TRUE(!asked || asked == expected) << "a container may not tell, but not something else";
            EXPECT_EQ(PeerUser::fromTables(ends), expected);
        };
        EXPECT_EQ(peerUser.of(connection.server), user);
        expectUser(user);
        connection.endSending();
        EXPECT_EQ(peerUser.of(connection.server), user) << "it still waits for the answer";
        expectUser(user);
        connection.closeClient();
        expectUser(std::nullopt);
    }
    RecordProperty("asked", waysThatWork);
    EXPECT_FALSE(peerUser.of(-1));
}

TEST(PeerUser, socketThatListensWhereAClientWasIsNotTaken)
{
    // The kernel answers with it when asked for a connection that is gone.
    Connection connection(AF_INET, geteuid());
    PeerUser::Ends ends = connection.ends();
    std::swap(ends.local, ends.remote);
    ends.remote.sin_port = htons(1);
    EXPECT_FALSE(PeerUser().fromDiagnostics(ends));
    EXPECT_FALSE(PeerUser::fromTables(ends));
}
