#pragma once

#include "platform/Error.h"

#include <QFuture>
#include <QNetworkAccessManager>
#include <QNetworkRequest>

#include <chrono>

namespace kelmo {

/// What a server answered.
struct HttpAnswer {
    int status = 0;
    QByteArray body; ///< At most 1 MiB; what follows is not read.
};

/// Sends requests, each exactly once: nothing is sent again on a connection that broke, and no redirection is followed.
/// Several may be under way. Owned by whoever shares; lives on one thread, which runs an event loop. What is under way
/// when it goes, or when it is aborted, fails as cancelled.
class HttpClient : public QObject {
    Q_OBJECT

public:
    /// A request fails after `timeout` without progress in sending, or when the whole answer takes longer than that.
    explicit HttpClient(std::chrono::milliseconds timeout);
    ~HttpClient() override;

    /// Fails, in domain "Network", only when there was no whole answer; every status is one. The future gets its
    /// result on this thread, always.
    [[nodiscard]] QFuture<Result<HttpAnswer>> send(
        const QNetworkRequest& request, const QByteArray& method, const QByteArray& body);

    /// Ends everything under way.
    void dropAll();

    /// The same, and from now on each `send` fails at once.
    void abort();
    [[nodiscard]] bool isAborted() const { return m_aborted; }

    /// The next request opens a connection of its own instead of using one that has been idle.
    void forgetConnections() { m_network.clearConnectionCache(); }

Q_SIGNALS:
    void dropped();

private:
    const std::chrono::milliseconds m_timeout;
    QNetworkAccessManager m_network;
    bool m_aborted = false;
};

/// The failure of whatever was given up.
[[nodiscard]] tl::unexpected<Error> shareCancelled();

} // namespace kelmo
