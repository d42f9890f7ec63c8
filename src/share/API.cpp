#include "share/API.h"

#include <QCoroFuture>
#include <QCoroTimer>
#include <QJsonDocument>

#include <algorithm>

namespace kelmo {

namespace {

constexpr qsizetype quotedBytes = 160;
constexpr int partAttempts = 3;
constexpr int unauthorized = 401;

QByteArray withoutToken(QByteArray text, const QString& token)
{
    return token.isEmpty() ? text : text.replace(token.toUtf8(), "…");
}

QString withoutToken(QString text, const QString& token)
{
    return token.isEmpty() ? text : text.replace(token, QStringLiteral("…"));
}

/// The file that was to be sent is at fault, so trying again is no use.
bool isUnreadable(const Error& error) { return error.domain == QStringLiteral("File"); }

Error refusal(const API& api, const HttpAnswer& answer)
{
    QString message;
    const QByteArray body = withoutToken(answer.body, api.token);
    const QJsonValue words = QJsonDocument::fromJson(body).object().value(u"message");
    if (answer.status == unauthorized) {
        message = api.signedIn
            ? QStringLiteral("Your sign-in has expired — choose Sign In… from the Vorlix menu bar icon.")
            : QStringLiteral("The share server rejected the token — check Settings.");
    } else if (words.isString()) {
        message = withoutToken(words.toString(), api.token); // Its letters may have been escaped in the body.
    } else {
        message = QStringLiteral("Share server error ") % QString::number(answer.status) % QStringLiteral(": ")
            % QString::fromUtf8(body.left(quotedBytes));
    }
    return shareFailure(answer.status, message).value();
}

tl::unexpected<Error> unanswered(const Error& error)
{
    if (error == HttpClient::cancellation())
        return shareCancelled();
    if (isUnreadable(error))
        return tl::unexpected(error);
    return failure(error.domain, error.code, QStringLiteral("Can’t reach the share server: ") % error.description);
}

// The values are the coroutine's own, because the API that it was asked of may be gone when the answer comes.
QCoro::Task<Result<QJsonObject>> sendOf(API api, HttpRequest request)
{
    if (!api.client)
        co_return shareCancelled();
    const QFuture<Result<HttpAnswer>> answering = api.client->send(std::move(request));
    const Result<HttpAnswer> answer = co_await answering;
    if (!answer)
        co_return unanswered(answer.error());
    if (answer->status < 200 || answer->status > 299)
        co_return tl::unexpected(refusal(api, *answer));
    co_return QJsonDocument::fromJson(answer->body).object();
}

QCoro::Task<Result<QJsonObject>> sendOf(API api, Result<HttpRequest> request)
{
    if (!request)
        co_return tl::unexpected(request.error());
    QCoro::Task<Result<QJsonObject>> sending = sendOf(std::move(api), std::move(*request));
    co_return co_await sending;
}

Result<HttpRequest> withBody(Result<HttpRequest> request, const QByteArray& contentType, const HttpBody& body)
{
    if (request) {
        request->headers.push_back({"Content-Type", contentType});
        request->body = body;
    }
    return request;
}

QCoro::Task<Result<QJsonObject>> putPartOf(API api, QString path, HttpBody part, ShareTimeouts pace)
{
    for (int attempt = 1;; ++attempt) {
        QCoro::Task<Result<QJsonObject>> sending = api.put(path, "application/octet-stream", part);
        const Result<QJsonObject> reply = co_await sending;
        if (reply || attempt == partAttempts || isUnreadable(reply.error()) || !api.client || api.client->isAborted())
            co_return reply;
        QTimer wait;
        wait.setTimerType(Qt::PreciseTimer);
        QObject::connect(api.client, &HttpClient::dropped, &wait, [&wait] { wait.start(0); });
        wait.start(attempt * pace.retryWait);
        co_await wait;
    }
}

} // namespace

tl::unexpected<Error> shareFailure(int code, const QString& description)
{
    return failure(QStringLiteral("Share"), code, description);
}

tl::unexpected<Error> shareCancelled()
{
    const Error cancelled = HttpClient::cancellation();
    return failure(cancelled.domain, cancelled.code, QStringLiteral("The share was cancelled"));
}

// "." and ".." would be taken for steps through the server's folders however they are written.
bool API::isUsableId(const QString& id)
{
    const bool isPlain
        = std::none_of(id.begin(), id.end(), [](QChar each) { return each.category() == QChar::Other_Control; });
    return isPlain && !id.isEmpty() && id != QStringLiteral(".") && id != QStringLiteral("..") && id.isValidUtf16();
}

QString API::sharePath(const QString& id, const QString& below)
{
    return QStringLiteral("/api/shares/") % QString::fromLatin1(QUrl::toPercentEncoding(id)) % QStringLiteral("/")
        % below;
}

Result<HttpRequest> API::request(const QString& path, const QByteArray& method) const
{
    const QUrl url(endpoint % path, QUrl::StrictMode);
    const bool onTheWeb = url.scheme() == QStringLiteral("https") || url.scheme() == QStringLiteral("http");
    if (!url.isValid() || !onTheWeb || url.host().isEmpty())
        return shareFailure(0, QStringLiteral("The share server’s address is not valid: ") % endpoint);
    // The authorization is for this server alone, so no redirection is followed.
    return HttpRequest{url, method, {{"Authorization", "Bearer " + token.toUtf8()}}};
}

QCoro::Task<Result<QJsonObject>> API::send(HttpRequest request) const { return sendOf(*this, std::move(request)); }

QCoro::Task<Result<QJsonObject>> API::post(const QString& path, const QJsonObject& body) const
{
    return sendOf(*this,
        withBody(request(path, "POST"), "application/json", {QJsonDocument(body).toJson(QJsonDocument::Compact)}));
}

QCoro::Task<Result<QJsonObject>> API::put(
    const QString& path, const QByteArray& contentType, const HttpBody& body) const
{
    return sendOf(*this, withBody(request(path, "PUT"), contentType, body));
}

QCoro::Task<Result<QJsonObject>> API::putPart(
    const QString& id, qint64 n, const HttpBody& part, const ShareTimeouts& pace) const
{
    return putPartOf(*this, sharePath(id, QStringLiteral("parts/") % QString::number(n)), part, pace);
}

} // namespace kelmo
