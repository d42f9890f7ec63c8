#include "tests/fakes/ShareServer.h"

#include "tests/fakes/ShareConnection.h"

#include <QDir>

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kelmo {

namespace {

quint16 portOf(int listener)
{
    sockaddr_in address{};
    socklen_t length = sizeof address;
    ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
    return ntohs(address.sin_port);
}

QString loopback(quint16 port) { return QStringLiteral("http://127.0.0.1:%1").arg(port); }

} // namespace

ShareServer::ShareServer(const Options& options)
    : m_options(options)
    , m_listener(listenOn(options.port))
    , m_port(portOf(m_listener))
    , m_book(options.folder, options.publicUrl.isEmpty() ? loopback(m_port) : options.publicUrl, options.partSize)
{
    QDir().mkpath(options.folder);
    m_accepting = std::thread([this] { accept(); });
}

ShareServer::~ShareServer()
{
    m_stopping = true;
    ::shutdown(m_listener, SHUT_RDWR);
    m_accepting.join();
    {
        const std::lock_guard lock(m_mutex);
        for (const int socket : m_sockets)
            ::shutdown(socket, SHUT_RDWR);
    }
    for (std::thread& thread : m_threads)
        thread.join();
    ::close(m_listener);
}

int ShareServer::listenOn(quint16 port)
{
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int yes = 1;
    ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0
        || ::listen(listener, SOMAXCONN) != 0) {
        std::perror("share server");
        std::exit(1);
    }
    return listener;
}

void ShareServer::accept()
{
    for (;;) {
        const int socket = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0 || m_stopping) {
            if (socket >= 0)
                ::close(socket);
            return;
        }
        const std::lock_guard lock(m_mutex);
        m_sockets.insert(socket);
        m_threads.emplace_back([this, socket] {
            Connection(*this, socket).run();
            const std::lock_guard guard(m_mutex);
            m_sockets.erase(socket);
            ::close(socket);
        });
    }
}

QString ShareServer::endpoint() const { return loopback(m_port); }

void ShareServer::setScript(std::function<Handling(const Request&)> script)
{
    const std::lock_guard lock(m_mutex);
    m_script = std::move(script);
}

ShareServer::Handling ShareServer::handling(Request& request)
{
    const std::lock_guard lock(m_mutex);
    request.number = int(m_requests.size());
    m_requests.push_back(request);
    return m_script ? m_script(request) : Handling();
}

bool ShareServer::mayEnter(const Request& request) const
{
    return request.authorization == "Bearer " + m_options.token;
}

void ShareServer::beginPart(int socket)
{
    const std::lock_guard lock(m_mutex);
    m_partSockets.insert(socket);
    // A client that has given a part up may send it again before this server has noticed.
    const auto alive = std::count_if(m_partSockets.begin(), m_partSockets.end(), [](int each) {
        pollfd state{each, POLLRDHUP, 0};
        return ::poll(&state, 1, 0) == 0;
    });
    m_mostPartsAtOnce = std::max(m_mostPartsAtOnce.load(), int(alive));
}

void ShareServer::endPart(int socket)
{
    const std::lock_guard lock(m_mutex);
    m_partSockets.erase(socket);
}

std::vector<ShareServer::Request> ShareServer::requests() const
{
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

int ShareServer::count(const QByteArray& method, const QByteArray& path) const
{
    const std::lock_guard lock(m_mutex);
    return int(std::count_if(m_requests.begin(), m_requests.end(),
        [&](const Request& each) { return each.method == method && each.path.startsWith(path); }));
}

} // namespace kelmo
