#include "agent/PeerUser.h"

#include <QFile>

#include <array>
#include <cstring>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace kelmo {

namespace {

struct Question {
    nlmsghdr header;
    inet_diag_req_v2 socket;
};

Question questionAbout(const PeerUser::Ends& ends)
{
    Question question{};
    question.header.nlmsg_len = sizeof question;
    question.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    question.header.nlmsg_flags = NLM_F_REQUEST;
    question.socket.sdiag_family = AF_INET;
    question.socket.sdiag_protocol = IPPROTO_TCP;
    question.socket.idiag_states = ~0U;
    question.socket.id.idiag_sport = ends.local.sin_port;
    question.socket.id.idiag_dport = ends.remote.sin_port;
    question.socket.id.idiag_src[0] = ends.local.sin_addr.s_addr;
    question.socket.id.idiag_dst[0] = ends.remote.sin_addr.s_addr;
    question.socket.id.idiag_cookie[0] = INET_DIAG_NOCOOKIE;
    question.socket.id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    return question;
}

// "0100007F:1E77", as in the tables; addresses of IPv6 sockets that speak IPv4 end in the same way.
QByteArray tableText(const sockaddr_in& address)
{
    const auto hex = [](quint32 number, int digits) {
        return QByteArray::number(number, 16).rightJustified(digits, '0').toUpper();
    };
    return hex(address.sin_addr.s_addr, 8) + ':' + hex(ntohs(address.sin_port), 4);
}

std::optional<uid_t> userIn(const char* path, const QByteArray& local, const QByteArray& remote)
{
    constexpr int localField = 1;
    constexpr int remoteField = 2;
    constexpr int userField = 7;
    constexpr int inodeField = 9;
    QFile table(QString::fromLatin1(path));
    if (!table.open(QIODevice::ReadOnly))
        return std::nullopt;
    for (QByteArray line = table.readLine(); !line.isEmpty(); line = table.readLine()) {
        const QList<QByteArray> fields = line.simplified().split(' ');
        if (fields.size() <= inodeField || !fields[localField].endsWith(local) || !fields[remoteField].endsWith(remote))
            continue;
        bool isNumber = false;
        const uid_t user = fields[userField].toUInt(&isNumber);
        return isNumber && fields[inodeField] != "0" ? std::optional(user) : std::nullopt;
    }
    return std::nullopt;
}

} // namespace

PeerUser::PeerUser()
    : m_diagnostics(::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_SOCK_DIAG))
{
    // The kernel answers while it is asked, so this is never waited for.
    const timeval patience{0, 100'000};
    if (m_diagnostics >= 0)
        ::setsockopt(m_diagnostics, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
}

PeerUser::~PeerUser()
{
    if (m_diagnostics >= 0)
        ::close(m_diagnostics);
}

std::optional<uid_t> PeerUser::of(int descriptor) const
{
    Ends ends{};
    socklen_t size = sizeof ends.local;
    if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&ends.local), &size) != 0)
        return std::nullopt;
    size = sizeof ends.remote;
    if (::getsockname(descriptor, reinterpret_cast<sockaddr*>(&ends.remote), &size) != 0)
        return std::nullopt;
    if (ends.local.sin_family != AF_INET)
        return std::nullopt;
    const std::optional<uid_t> user = fromDiagnostics(ends);
    return user ? user : fromTables(ends);
}

std::optional<uid_t> PeerUser::fromDiagnostics(const Ends& ends) const
{
    const Question question = questionAbout(ends);
    if (::send(m_diagnostics, &question, sizeof question, 0) != sizeof question)
        return std::nullopt;
    alignas(nlmsghdr) std::array<char, 4096> answer;
    const ssize_t size = ::recv(m_diagnostics, answer.data(), answer.size(), 0);
    nlmsghdr header{};
    inet_diag_msg found{};
    if (size < ssize_t(NLMSG_HDRLEN + sizeof found))
        return std::nullopt;
    std::memcpy(&header, answer.data(), sizeof header);
    std::memcpy(&found, answer.data() + NLMSG_HDRLEN, sizeof found);
    // For a socket that is gone, the kernel may name one that listens there. One that is closed has no inode.
    const bool isIt = header.nlmsg_type == SOCK_DIAG_BY_FAMILY && found.id.idiag_sport == ends.local.sin_port
        && found.id.idiag_dport == ends.remote.sin_port && found.idiag_inode != 0;
    return isIt ? std::optional<uid_t>(found.idiag_uid) : std::nullopt;
}

std::optional<uid_t> PeerUser::fromTables(const Ends& ends)
{
    const QByteArray local = tableText(ends.local);
    const QByteArray remote = tableText(ends.remote);
    const std::optional<uid_t> user = userIn("/proc/net/tcp", local, remote);
    return user ? user : userIn("/proc/net/tcp6", local, remote);
}

} // namespace kelmo
