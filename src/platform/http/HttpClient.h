#pragma once

#include "platform/http/HttpRequest.h"

#include <QFuture>
#include <QObject>
#include <QPromise>

#include <map>

namespace kelmo {

class HttpThread;

/// Sends requests over HTTP/1.1, each exactly once: nothing is sent again on a connection that broke. Several may be
/// under way, each on a connection of its own, on a thread of the client's. Owned by the sender; lives on one
/// thread, which runs an event loop and never waits for the network. What is under way when it goes, or when it is
/// aborted, fails as cancelled.
class HttpClient : public QObject {
    Q_OBJECT

public:
    /// A request fails after `timeout` without progress in sending, or when the whole answer takes longer than that.
    explicit HttpClient(std::chrono::milliseconds timeout);
    ~HttpClient() override;

    /// Fails in domain "Network" only if there was no whole answer; every status is one. Fails in domain "File" if the
    /// body can't be read. The future gets its result on this thread, always.
    [[nodiscard]] QFuture<Result<HttpAnswer>> send(HttpRequest request);

    /// Ends everything under way.
    void dropAll();

    /// The same, and from now on each `send` fails at once.
    void abort();
    [[nodiscard]] bool isAborted() const { return m_aborted; }

    /// The error of a request that was given up.
    [[nodiscard]] static Error cancellation();

Q_SIGNALS:
    void dropped();

private:
    void startThread();
    void deliver(quint64 id, Result<HttpAnswer> outcome);

    const std::chrono::milliseconds m_timeout;
    std::shared_ptr<HttpThread> m_thread; ///< From the first request on.
    std::map<quint64, QPromise<Result<HttpAnswer>>> m_pending;
    quint64 m_requests = 0; ///< Sent so far.
    bool m_aborted = false;
};

} // namespace kelmo
