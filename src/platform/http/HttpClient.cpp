#include "platform/http/HttpClient.h"

#include "platform/http/HttpThread.h"

namespace kelmo {

namespace {

void finish(QPromise<Result<HttpAnswer>>& promise, Result<HttpAnswer> outcome)
{
    promise.addResult(std::move(outcome));
    promise.finish();
}

} // namespace

HttpClient::HttpClient(std::chrono::milliseconds timeout)
    : m_timeout(timeout)
{
}

HttpClient::~HttpClient()
{
    abort();
    if (m_thread)
        m_thread->end();
}

Error HttpClient::cancellation()
{
    constexpr int code = 42; // What libcurl calls a transfer that was aborted.
    return {QStringLiteral("Network"), code, QStringLiteral("The request was cancelled")};
}

QFuture<Result<HttpAnswer>> HttpClient::send(HttpRequest request)
{
    if (m_aborted)
        return QtFuture::makeReadyFuture(Result<HttpAnswer>(tl::unexpected(cancellation())));
    startThread();
    const quint64 id = ++m_requests;
    QPromise<Result<HttpAnswer>>& promise = m_pending[id];
    promise.start();
    m_thread->add(std::make_unique<HttpTransfer>(id, std::move(request), m_timeout));
    return promise.future();
}

void HttpClient::startThread()
{
    if (m_thread)
        return;
    // The thread lets go of this function before the client is gone.
    m_thread = HttpThread::start([this](quint64 id, Result<HttpAnswer> outcome) {
        QMetaObject::invokeMethod(
            this, [this, id, outcome = std::move(outcome)] { deliver(id, outcome); }, Qt::QueuedConnection);
    });
}

void HttpClient::deliver(quint64 id, Result<HttpAnswer> outcome)
{
    // One that was dropped meanwhile has its result.
    if (auto pending = m_pending.extract(id))
        finish(pending.mapped(), std::move(outcome));
}

void HttpClient::dropAll()
{
    if (m_thread)
        m_thread->dropAll();
    std::map<quint64, QPromise<Result<HttpAnswer>>> pending = std::exchange(m_pending, {});
    for (auto& [id, promise] : pending)
        finish(promise, tl::unexpected(cancellation()));
    Q_EMIT dropped();
}

void HttpClient::abort()
{
    m_aborted = true;
    dropAll();
}

} // namespace kelmo
