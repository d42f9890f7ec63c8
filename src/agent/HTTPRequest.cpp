#include "agent/HTTPRequest.h"

#include <QByteArrayView>

#include <algorithm>
#include <array>

namespace kelmo {

namespace {

bool isPort(QByteArrayView text)
{
    return !text.isEmpty() && text.size() <= 5
        && std::all_of(text.begin(), text.end(), [](char digit) { return digit >= '0' && digit <= '9'; });
}

// A name with an optional port. Exact names only: "localhost.example.com" and "127.0.0.1.example.com" belong to others.
bool isLoopbackAuthority(const QByteArray& authority)
{
    static constexpr std::array names{"localhost", "127.0.0.1", "[::1]"};
    const QByteArray lower = authority.toLower();
    return std::any_of(names.begin(), names.end(), [&lower](QByteArrayView name) {
        if (!lower.startsWith(name))
            return false;
        const QByteArrayView rest = QByteArrayView(lower).sliced(name.size());
        return rest.isEmpty() || (rest.front() == ':' && isPort(rest.sliced(1)));
    });
}

// "null", which pages in a sandbox and local files send, is a web page too.
bool isLoopbackOrigin(const QByteArray& origin)
{
    const QByteArray lower = origin.toLower();
    for (const char* scheme : {"http://", "https://"}) {
        if (lower.startsWith(scheme))
            return isLoopbackAuthority(lower.sliced(qstrlen(scheme)));
    }
    return false;
}

} // namespace

bool HTTPRequest::isLocal() const
{
    return std::all_of(hosts.begin(), hosts.end(), isLoopbackAuthority)
        && std::all_of(origins.begin(), origins.end(), isLoopbackOrigin);
}

} // namespace kelmo
