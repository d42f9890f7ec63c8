#include "share/ProgressReports.h"

#include <QCoroSignal>

namespace kelmo {

ProgressReports::ProgressReports(API api, const QString& id)
    : m_api(std::move(api))
    , m_path(QStringLiteral("/api/shares/") % id % QStringLiteral("/progress"))
{
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
    Q_EMIT settled();
}

QCoro::Task<void> ProgressReports::settle(std::chrono::milliseconds patience)
{
    if (!m_busy)
        co_return;
    const QPointer<ProgressReports> self(this);
    auto settling = qCoro(this, &ProgressReports::settled, patience);
    co_await settling;
    if (self && m_busy && m_api.client)
        m_api.client->abort();
}

} // namespace kelmo
