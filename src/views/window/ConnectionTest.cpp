#include "views/window/ConnectionTest.h"

namespace kelmo {

namespace {

constexpr std::chrono::seconds patience{30};
constexpr int httpOk = 200;

} // namespace

ConnectionTest::ConnectionTest(QObject* parent)
    : QObject(parent)
    , m_client(patience)
{
}

void ConnectionTest::run(const QString& endpoint, std::function<void(const QString& status)> report)
{
    const QUrl url(endpoint, QUrl::StrictMode);
    if (url.isEmpty() || !url.isValid())
        return;
    m_client.dropAll();
    report(QStringLiteral("Checking…"));
    HttpRequest request{url};
    request.redirects = HttpRequest::Redirects::Follow;
    m_client.send(request).then(this, [report = std::move(report)](const Result<HttpAnswer>& answer) {
        if (!answer && answer.error() == HttpClient::cancellation())
            return;
        const bool reached = answer && answer->status == httpOk;
        report(reached ? QStringLiteral("Connected ✓") : QStringLiteral("Can't reach the server"));
    });
}

} // namespace kelmo
