#include "share/PartUploads.h"

#include "share/PartReader.h"

#include <QCoreApplication>
#include <QCoroFuture>
#include <QtConcurrent>

namespace kelmo {

namespace {

constexpr int threads = 2;
constexpr int lanesOfThread = 2;

} // namespace

PartUploads::PartUploads(API api, QString id, qint64 partSize, const SharePace& pace)
    : m_api(std::move(api))
    , m_id(std::move(id))
    , m_partSize(partSize)
    , m_pace(pace)
{
    m_threads.setMaxThreadCount(threads);
}

PartUploads::~PartUploads() { abort(); }

QCoro::Task<Result<QJsonArray>> PartUploads::run(QString path)
{
    m_path = std::move(path);
    const Result<std::unique_ptr<PartReader>> file = PartReader::open(m_path, m_partSize);
    if (!file)
        co_return tl::unexpected(file.error());
    m_count = (*file)->count();
    std::vector<QFuture<void>> sending;
    sending.reserve(threads);
    for (int i = 0; i < threads; ++i)
        sending.push_back(QtConcurrent::run(&m_threads, &PartUploads::send, this));
    for (const QFuture<void>& each : sending)
        co_await each;
    // What the threads told last may still be on its way.
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
    if (m_error)
        co_return tl::unexpected(*m_error);
    co_return m_replies;
}

void PartUploads::abort()
{
    fail(shareCancelled().value());
    m_threads.waitForDone();
}

void PartUploads::send()
{
    HttpClient client(m_pace.requestTimeout);
    connect(this, &PartUploads::failed, &client, &HttpClient::abort);
    API api = m_api;
    api.client = &client;
    std::vector<QCoro::Task<void>> lanes;
    lanes.reserve(lanesOfThread);
    for (int i = 0; i < lanesOfThread; ++i)
        lanes.push_back(lane(api));
    for (const QCoro::Task<void>& each : lanes)
        QCoro::waitFor(each);
}

// Takes the next part as soon as its last one is there, so that as many are under way as there are lanes.
QCoro::Task<void> PartUploads::lane(API api)
{
    const Result<std::unique_ptr<PartReader>> reader = PartReader::open(m_path, m_partSize);
    if (!reader)
        fail(reader.error());
    while (const std::optional<qint64> n = next()) {
        const Result<QByteArray> bytes = (*reader)->part(*n);
        if (!bytes) {
            fail(bytes.error());
            co_return;
        }
        QCoro::Task<Result<QJsonObject>> putting = api.putPart(m_id, *n, *bytes, m_pace);
        const Result<QJsonObject> reply = co_await putting;
        if (!reply) {
            fail(reply.error());
            co_return;
        }
        keep(*reply, bytes->size());
    }
}

std::optional<qint64> PartUploads::next()
{
    const std::lock_guard lock(m_mutex);
    if (m_error || m_next > m_count)
        return std::nullopt;
    return m_next++;
}

void PartUploads::keep(const QJsonObject& reply, qint64 bytes)
{
    const std::lock_guard lock(m_mutex);
    m_replies.append(reply);
    m_sent += bytes;
    QMetaObject::invokeMethod(
        this, [this, bytesSent = m_sent] { Q_EMIT sent(bytesSent); }, Qt::QueuedConnection);
}

void PartUploads::fail(const Error& error)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_error)
            return;
        m_error = error;
    }
    Q_EMIT failed();
}

} // namespace kelmo
