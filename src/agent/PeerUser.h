#pragma once

#include <netinet/in.h>
#include <sys/types.h>

#include <optional>

namespace kelmo {

/// Finds out which user of this machine is at the other end of a TCP connection over the loopback interface. Owned by
/// the listener, on its thread. A look takes some ten microseconds.
class PeerUser {
public:
    /// Where a connection ends, as the other side sees it.
    struct Ends {
        sockaddr_in local; ///< Of the other side.
        sockaddr_in remote; ///< Ours.
    };

    PeerUser();
    ~PeerUser();
    PeerUser(const PeerUser&) = delete;
    PeerUser& operator=(const PeerUser&) = delete;

    /// The user who made the socket at the other end. Nullopt if the system does not tell, and when that socket has
    /// been closed: the system then names root.
    [[nodiscard]] std::optional<uid_t> of(int descriptor) const;

    // The two ways to find out.
    [[nodiscard]] std::optional<uid_t> fromDiagnostics(const Ends& ends) const; ///< Asks the kernel for one socket.
    [[nodiscard]] static std::optional<uid_t> fromTables(const Ends& ends); ///< Reads the list of all sockets.

private:
    int m_diagnostics; ///< A netlink socket; -1 where the system has none.
};

} // namespace kelmo
