#include "editor/RecorderLink.h"

#include "telemetry/Log.h"

#include <QNetworkReply>
#include <QNetworkRequest>

namespace kelmo {

namespace {

constexpr int recorderPort = 43120;
constexpr int timeoutMs = 120'000;

} // namespace

void RecorderLink::requestAlign(const QString& base)
{
    QUrl url;
    url.setScheme(QStringLiteral("http"));
    url.setHost(QStringLiteral("127.0.0.1"));
    url.setPort(recorderPort);
    url.setPath(QStringLiteral("/align"));
    url.setQuery(QString::fromLatin1("take=" + QUrl::toPercentEncoding(base)));
    QNetworkRequest request(url);
    request.setRawHeader("X-Kelmo", "1");
    request.setTransferTimeout(timeoutMs);

    Log::line(u"align", QStringLiteral("asking the recorder to align ") % base);
    QNetworkReply* reply = m_network.post(request, QByteArray());
    QObject::connect(reply, &QNetworkReply::finished, reply, [reply] {
        const bool answered = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid();
        if (reply->error() != QNetworkReply::NoError && !answered)
            Log::line(u"align", QStringLiteral("recorder align request failed: ") % reply->errorString());
        reply->deleteLater();
    });
}

} // namespace kelmo
