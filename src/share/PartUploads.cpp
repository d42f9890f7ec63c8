#include "share/PartUploads.h"

#include <QCoroFuture>
#include <QtConcurrent>

namespace kelmo {

namespace {

constexpr qint64 partsAtOnce = 4;

} // namespace

PartUploads::PartUploads(API api, QString id, std::shared_ptr<PartReader> reader, const SharePace& pace)
    : m_api(std::move(api))
    , m_id(std::move(id))
    , m_reader(std::move(reader))
    , m_pace(pace)
{
}

QCoro::Task<Result<QJsonArray>> PartUploads::run()
{
    std::vector<QCoro::Task<void>> lanes;
    for (qint64 i = 0; i < std::min(m_reader->count(), partsAtOnce); ++i)
        lanes.push_back(lane());
    for (QCoro::Task<void>& each : lanes)
        co_await each;
    if (m_error)
        co_return tl::unexpected(*m_error);
    co_return m_replies;
}

// Each lane takes the next part as soon as its last one is there, so that as many are under way as there are lanes.
QCoro::Task<void> PartUploads::lane()
{
    while (!m_error && m_next <= m_reader->count()) {
        const qint64 n = m_next++;
        const QFuture<Result<QByteArray>> reading
            = QtConcurrent::run([reader = m_reader, n] { return reader->part(n); });
        const Result<QByteArray> bytes = co_await reading;
        if (!bytes) {
            fail(bytes.error());
            co_return;
        }
        QCoro::Task<Result<QJsonObject>> putting = m_api.putPart(m_id, n, *bytes, m_pace);
        const Result<QJsonObject> reply = co_await putting;
        if (!reply) {
            fail(reply.error());
            co_return;
        }
        m_replies.append(*reply);
        m_sent += bytes->size();
        Q_EMIT sent(m_sent);
    }
}

void PartUploads::fail(const Error& error)
{
    if (m_error)
        return;
    m_error = error;
    if (m_api.client)
        m_api.client->abort();
}

} // namespace kelmo
