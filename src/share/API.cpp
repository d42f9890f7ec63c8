#include "share/API.h"

#include <QCoroFuture>
#include <QCoroTimer>
#include <QJsonDocument>

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

// The values are the coroutine's own, because the API that it was asked of may be gone when the answer comes.
QCoro::Task<Result<QJsonObject>> sendOf(API api, API::Request request)
{
    if (!api.client)
        co_return shareCancelled();
    const QFuture<Result<HttpAnswer>> answering = api.client->send(request.head, request.method, request.body);
    const Result<HttpAnswer> answer = co_await answering;
    if (!answer)
        co_return tl::unexpected(answer.error());
    if (answer->status < 200 || answer->status > 299)
        co_return tl::unexpected(refusal(api, *answer));
    co_return QJsonDocument::fromJson(answer->body).object();
}

QCoro::Task<Result<QJsonObject>> sendOf(API api, Result<API::Request> request)
{
    if (!request)
        co_return tl::unexpected(request.error());
    QCoro::Task<Result<QJsonObject>> sending = sendOf(std::move(api), std::move(*request));
    co_return co_await sending;
}

Result<API::Request> withBody(Result<API::Request> request, const QByteArray& contentType, const QByteArray& body)
{
    if (request) {
        request->head.setHeader(QNetworkRequest::ContentTypeHeader, contentType);
        request->body = body;
    }
    return request;
}

QCoro::Task<Result<QJsonObject>> putPartOf(API api, QString path, QByteArray data, SharePace pace)
{
    for (int attempt = 1;; ++attempt) {
        QCoro::Task<Result<QJsonObject>> sending = api.put(path, "application/octet-stream", data);
        const Result<QJsonObject> reply = co_await sending;
        if (reply || attempt == partAttempts || !api.client || api.client->isAborted())
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

Result<API::Request> API::request(const QString& path, const QByteArray& method) const
{
    const QUrl url(endpoint % path, QUrl::StrictMode);
    const bool onTheWeb = url.scheme() == QStringLiteral("https") || url.scheme() == QStringLiteral("http");
    if (!url.isValid() || !onTheWeb || url.host().isEmpty())
        return shareFailure(0, QStringLiteral("The share server’s address is not valid: ") % endpoint);
    Request request{QNetworkRequest(url), method, {}};
    request.head.setRawHeader("Authorization", "Bearer " + token.toUtf8());
    return request;
}

QCoro::Task<Result<QJsonObject>> API::send(Request request) const { return sendOf(*this, std::move(request)); }

QCoro::Task<Result<QJsonObject>> API::post(const QString& path, const QJsonObject& body) const
{
    return sendOf(
        *this, withBody(request(path, "POST"), "application/json", QJsonDocument(body).toJson(QJsonDocument::Compact)));
}

QCoro::Task<Result<QJsonObject>> API::put(
    const QString& path, const QByteArray& contentType, const QByteArray& body) const
{
    return sendOf(*this, withBody(request(path, "PUT"), contentType, body));
}

QCoro::Task<Result<QJsonObject>> API::putPart(
    const QString& id, qint64 n, const QByteArray& data, const SharePace& pace) const
{
    return putPartOf(
        *this, QStringLiteral("/api/shares/") % id % QStringLiteral("/parts/") % QString::number(n), data, pace);
}

} // namespace kelmo
