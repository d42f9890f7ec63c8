#include "views/ConnectionTest.h"

#include <QNetworkReply>
#include <QUrl>

namespace kelmo {

namespace {

constexpr int patienceMs = 30'000;
constexpr int httpOk = 200;

} // namespace

void ConnectionTest::run(const QString& endpoint, std::function<void(const QString& status)> report)
{
    const QUrl url(endpoint, QUrl::StrictMode);
    if (url.isEmpty() || !url.isValid())
        return;
    if (m_reply) {
        m_reply->disconnect(this);
        m_reply->abort();
        m_reply->deleteLater();
    }
    report(QStringLiteral("Checking…"));
    QNetworkRequest request(url);
    request.setTransferTimeout(patienceMs);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    m_reply = m_network.get(request);
    connect(m_reply, &QNetworkReply::finished, this, [reply = m_reply.data(), report = std::move(report)] {
        reply->deleteLater();
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        const bool reached = reply->error() == QNetworkReply::NoError && status == httpOk;
        report(reached ? QStringLiteral("Connected ✓") : QStringLiteral("Can't reach the server"));
    });
}

} // namespace kelmo
