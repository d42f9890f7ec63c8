#include "share/PartUploads.h"

#include <QCoroFuture>

namespace kelmo {

namespace {

constexpr int lanes = 4;

API through(API api, HttpClient& client)
{
    api.client = &client;
    return api;
}

} // namespace

PartUploads::PartUploads(API api, QString id, qint64 partSize, const ShareTimeouts& pace)
    : m_client(pace.requestTimeout)
    , m_api(through(std::move(api), m_client))
    , m_id(std::move(id))
    , m_partSize(partSize)
    , m_pace(pace)
{
}

QCoro::Task<Result<QJsonArray>> PartUploads::run(QString path)
{
    const Result<PartReader> file = PartReader::open(path, m_partSize);
    if (!file)
        co_return tl::unexpected(file.error());
    std::vector<QCoro::Task<void>> sending;
    sending.reserve(lanes);
    for (int i = 0; i < lanes; ++i)
        sending.push_back(lane(*file));
    for (const QCoro::Task<void>& each : sending)
        co_await each;
    if (m_error)
        co_return tl::unexpected(*m_error);
    co_return m_replies;
}

void PartUploads::abort()
{
    if (!m_error)
        m_error = shareCancelled().value();
    m_client.abort();
}

// Takes the next part as soon as its last one is there, so that as many are under way as there are lanes.
QCoro::Task<void> PartUploads::lane(PartReader reader)
{
    while (!m_error && m_next <= reader.count()) {
        const qint64 n = m_next++;
        const HttpBody part = reader.part(n);
        QCoro::Task<Result<QJsonObject>> putting = m_api.putPart(m_id, n, part, m_pace);
        const Result<QJsonObject> reply = co_await putting;
        if (m_error)
            co_return;
        if (!reply) {
            m_error = reply.error();
            m_client.abort();
            co_return;
        }
        m_replies.append(*reply);
        m_sent += part.size();
        Q_EMIT sent(m_sent);
    }
}

} // namespace kelmo
