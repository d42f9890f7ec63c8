#include "editor/RecorderLink.h"

#include "telemetry/Log.h"

namespace kelmo {

namespace {

constexpr int recorderPort = 43120;

} // namespace

void RecorderLink::requestAlign(const QString& base)
{
    QUrl url;
    url.setScheme(QStringLiteral("http"));
    url.setHost(QStringLiteral("127.0.0.1"));
    url.setPort(recorderPort);
    url.setPath(QStringLiteral("/align"));
    url.setQuery(QString::fromLatin1("take=" + QUrl::toPercentEncoding(base)));
    Log::line(u"align", QStringLiteral("asking the recorder to align ") % base);
    m_client.send({url, "POST", {{"X-Kelmo", "1"}}}).then(&m_client, [](const Result<HttpAnswer>& answer) {
        if (!answer && answer.error() != HttpClient::cancellation())
            Log::line(u"align", QStringLiteral("recorder align request failed: ") % answer.error().description);
    });
}

} // namespace kelmo
