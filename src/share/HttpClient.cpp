#include "share/HttpClient.h"

#include <QNetworkReply>
#include <QPromise>
#include <QTimer>

namespace kelmo {

namespace {

constexpr qint64 longestAnswer = 1024LL * 1024;
constexpr char domain[] = "Network";

/// A body that can be read once. The toolkit sends a request again when its connection breaks before the answer, which
/// would make a second link of a first one whose answer got lost; it cannot with a body that will not rewind.
class OnceBody : public QIODevice {
public:
    explicit OnceBody(const QByteArray& bytes)
        : m_bytes(bytes)
    {
        open(ReadOnly | Unbuffered);
    }

    [[nodiscard]] bool isSequential() const override { return true; }
    [[nodiscard]] bool atEnd() const override { return m_read == m_bytes.size(); }
    [[nodiscard]] qint64 bytesAvailable() const override { return m_bytes.size() - m_read; }
    bool reset() override { return false; }

protected:
    qint64 readData(char* data, qint64 most) override
    {
        const qint64 count = std::min<qint64>(most, m_bytes.size() - m_read);
        std::copy_n(m_bytes.constData() + m_read, count, data);
        m_read += count;
        return count;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    const QByteArray m_bytes;
    qint64 m_read = 0;
};

tl::unexpected<Error> networkFailure(int code, const QString& why)
{
    return failure(QString::fromLatin1(domain), code, QStringLiteral("Can’t reach the share server: ") % why);
}

/// Whether the server's answer is what the toolkit calls an error, as it does with most statuses. A redirection counts
/// as one: the toolkit would follow it with the body, which cannot be read again.
bool isAnswer(int status, QNetworkReply::NetworkError error)
{
    if (error == QNetworkReply::ContentReSendError)
        return status >= 300 && status <= 399;
    return error == QNetworkReply::NoError || error == QNetworkReply::ProtocolInvalidOperationError
        || (error > QNetworkReply::UnknownProxyError && error < QNetworkReply::ProtocolUnknownError)
        || error > QNetworkReply::ProtocolFailure;
}

/// One request from sending to answer. Deletes itself.
class Exchange : public QObject {
public:
    Exchange(QNetworkReply* reply, std::chrono::milliseconds timeout)
        : m_reply(reply)
    {
        m_reply->setParent(this);
        m_promise.start();
        m_timer.setSingleShot(true);
        m_timer.start(timeout);
        connect(&m_timer, &QTimer::timeout, this,
            [this] { end(networkFailure(QNetworkReply::TimeoutError, QStringLiteral("it does not answer"))); });
        connect(m_reply, &QNetworkReply::uploadProgress, this, [this](qint64 sent) {
            if (sent > m_sent)
                m_timer.start();
            m_sent = sent;
        });
        connect(m_reply, &QNetworkReply::readyRead, this, [this] { read(); });
        connect(m_reply, &QNetworkReply::finished, this, [this] { finish(); });
    }

    [[nodiscard]] QFuture<Result<HttpAnswer>> answer() const { return m_promise.future(); }

    void cancel() { end(shareCancelled()); }

private:
    void read()
    {
        const QByteArray more = m_reply->readAll();
        m_body += more.left(longestAnswer - m_body.size());
        if (m_body.size() == longestAnswer)
            finish();
    }

    void finish()
    {
        const QVariant status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
        if (status.isValid() && isAnswer(status.toInt(), m_reply->error()))
            end(HttpAnswer{status.toInt(), m_body + m_reply->read(longestAnswer - m_body.size())});
        else if (m_reply->error() == QNetworkReply::ContentReSendError)
            end(networkFailure(m_reply->error(), QStringLiteral("the connection was lost")));
        else
            end(networkFailure(m_reply->error(), m_reply->errorString()));
    }

    void end(Result<HttpAnswer> answer)
    {
        if (std::exchange(m_ended, true))
            return;
        m_promise.addResult(std::move(answer));
        m_promise.finish();
        m_reply->disconnect(this);
        m_reply->abort();
        deleteLater();
    }

    QNetworkReply* m_reply;
    QPromise<Result<HttpAnswer>> m_promise;
    QTimer m_timer;
    QByteArray m_body;
    qint64 m_sent = 0;
    bool m_ended = false;
};

} // namespace

tl::unexpected<Error> shareCancelled()
{
    return failure(
        QString::fromLatin1(domain), QNetworkReply::OperationCanceledError, QStringLiteral("The share was cancelled"));
}

HttpClient::HttpClient(std::chrono::milliseconds timeout)
    : m_timeout(timeout)
{
}

HttpClient::~HttpClient() { abort(); }

QFuture<Result<HttpAnswer>> HttpClient::send(
    const QNetworkRequest& request, const QByteArray& method, const QByteArray& body)
{
    if (m_aborted)
        return QtFuture::makeReadyFuture(Result<HttpAnswer>(shareCancelled()));
    QNetworkRequest once = request;
    once.setHeader(QNetworkRequest::ContentLengthHeader, body.size());
    once.setAttribute(QNetworkRequest::DoNotBufferUploadDataAttribute, true);
    // The authorization is for this server alone.
    once.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    once.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    once.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    once.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    // A connection for each part: they must not wait for each other's windows.
    once.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    auto* const content = new OnceBody(body);
    QNetworkReply* const reply = m_network.sendCustomRequest(once, method, content);
    content->setParent(reply);
    auto* const exchange = new Exchange(reply, m_timeout);
    connect(this, &HttpClient::dropped, exchange, &Exchange::cancel);
    return exchange->answer();
}

void HttpClient::dropAll() { Q_EMIT dropped(); }

void HttpClient::abort()
{
    m_aborted = true;
    dropAll();
}

} // namespace kelmo
