#include "share/ProgressReports.h"

#include <QCoroFuture>

namespace kelmo {

ProgressReports::ProgressReports(API api, const QString& id)
    : m_api(std::move(api))
    , m_path(API::sharePath(id, QStringLiteral("progress")))
{
    m_patience.setSingleShot(true);
    connect(&m_patience, &QTimer::timeout, this, &ProgressReports::giveUp);
}

void ProgressReports::send(const QString& status, double fraction)
{
    const QJsonObject report{{QStringLiteral("status"), status}, {QStringLiteral("progress"), fraction}};
    if (m_busy)
        m_waiting = report;
    else
        deliver(report);
}

QCoro::Task<void> ProgressReports::deliver(QJsonObject report)
{
    const QPointer<ProgressReports> self(this);
    m_busy = true;
    for (std::optional<QJsonObject> next = report; next; next = std::exchange(m_waiting, std::nullopt)) {
        QCoro::Task<Result<QJsonObject>> posting = m_api.post(m_path, *next);
        co_await posting;
        if (!self)
            co_return;
    }
    m_busy = false;
    m_patience.stop();
    if (std::optional<QPromise<void>> settled = std::exchange(m_settled, std::nullopt))
        settled->finish();
}

QCoro::Task<void> ProgressReports::settle(std::chrono::milliseconds patience)
{
    if (!m_busy)
        co_return;
    m_settled.emplace();
    m_settled->start();
    const QFuture<void> settled = m_settled->future();
    m_patience.start(patience);
    co_await settled;
}

void ProgressReports::giveUp()
{
    m_waiting.reset();
    if (m_api.client)
        m_api.client->dropAll();
}

} // namespace kelmo
