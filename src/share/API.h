#pragma once

#include "platform/http/HttpClient.h"
#include "share/ShareTimeouts.h"

#include <QCoroTask>
#include <QJsonObject>
#include <QPointer>

namespace kelmo {

/// A share server as one user sees it: makes authorised requests, sends them and turns replies into JSON or errors. A
/// value that does not change; copies may be in use at once, each on the thread of its client.
class API {
public:
    /// What a part holds when the server does not say, in bytes.
    static constexpr qint64 usualPartSize = 16'777'216;

    QString endpoint; ///< Base URL without a slash at its end.
    QString token; ///< Never in a log or a message, not even when a server sends it back.
    bool signedIn = false; ///< The token is an account's; only changes what a refusal says.
    QPointer<HttpClient> client; ///< Without it every request fails as cancelled.

    /// A request for `endpoint` followed by `path`. Fails when that is no address on the web.
    [[nodiscard]] Result<HttpRequest> request(const QString& path, const QByteArray& method) const;

    /// The object that the server answered, empty when it answered nothing of the kind. Fails with ("Share", status)
    /// and the server's words unless the status is 200 to 299.
    [[nodiscard]] QCoro::Task<Result<QJsonObject>> send(HttpRequest request) const;

    // Both are `request` and `send` in one.
    [[nodiscard]] QCoro::Task<Result<QJsonObject>> post(const QString& path, const QJsonObject& body) const;
    [[nodiscard]] QCoro::Task<Result<QJsonObject>> put(
        const QString& path, const QByteArray& contentType, const HttpBody& body) const;

    /// Uploads part `n` of a share, in at most three attempts.
    [[nodiscard]] QCoro::Task<Result<QJsonObject>> putPart(
        const QString& id, qint64 n, const HttpBody& part, const ShareTimeouts& pace) const;

    /// The path of what `below` names in a share.
    [[nodiscard]] static QString sharePath(const QString& id, const QString& below);

    /// Whether a path can name a share of this id. Control characters can't be in one, nor in the log.
    [[nodiscard]] static bool isUsableId(const QString& id);
};

/// The failure of whatever was given up.
[[nodiscard]] tl::unexpected<Error> shareCancelled();

[[nodiscard]] tl::unexpected<Error> shareFailure(int code, const QString& description);

} // namespace kelmo
