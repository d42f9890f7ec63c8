#include "views/Filmstrip.h"

#include "media/ThumbnailGenerator.h"
#include "platform/BackgroundPriority.h"

#include <QCoroFuture>
#include <QtConcurrent>

namespace kelmo {

namespace {

Result<QImage> make(ThumbnailGenerator& generator, int bucket)
{
    enterBackgroundPriority();
    return generator.image(bucket * Filmstrip::bucketMs);
}

} // namespace

Filmstrip::Filmstrip(QObject* parent)
    : QObject(parent)
{
    m_worker.setMaxThreadCount(1);
}

Filmstrip::~Filmstrip()
{
    if (m_generator)
        m_generator->cancel();
}

void Filmstrip::use(const std::optional<QUrl>& url, const std::shared_ptr<const LoadedTake>& loaded)
{
    if (url != m_url) {
        m_url = url;
        m_frames.clear();
        m_pending.clear();
        m_waiting.clear();
        if (m_generator)
            m_generator->cancel();
        m_generator.reset();
        Q_EMIT changed();
    }
    if (m_url && loaded && !m_generator)
        m_generator = std::make_shared<ThumbnailGenerator>(loaded->screenVideo);
}

void Filmstrip::request(const std::vector<double>& times)
{
    if (!m_generator)
        return;
    std::vector<int> buckets;
    for (const double ms : times) {
        const int bucket = bucketOf(ms);
        if (m_pending.contains(bucket))
            continue;
        m_pending.insert(bucket);
        buckets.push_back(bucket);
    }
    std::sort(buckets.begin(), buckets.end());
    m_waiting.insert(m_waiting.end(), buckets.begin(), buckets.end());
    if (!m_working)
        work();
}

QCoro::Task<void> Filmstrip::work()
{
    const QPointer<Filmstrip> self(this);
    m_working = true;
    while (!m_waiting.empty()) {
        const int bucket = m_waiting.front();
        m_waiting.pop_front();
        const std::shared_ptr<ThumbnailGenerator> generator = m_generator;
        const QFuture<Result<QImage>> making
            = QtConcurrent::run(&m_worker, [generator, bucket] { return make(*generator, bucket); });
        const Result<QImage> image = co_await making;
        if (!self)
            co_return;
        if (!image || generator != m_generator) // A failed one stays empty; one of another movie is of no use.
            continue;
        m_frames.insert(bucket, *image);
        Q_EMIT changed();
    }
    m_working = false;
}

QImage Filmstrip::image(double nearMs) const
{
    const int bucket = bucketOf(nearMs);
    for (const int near : {bucket, bucket - 1, bucket + 1}) {
        if (const auto found = m_frames.constFind(near); found != m_frames.constEnd())
            return *found;
    }
    return {};
}

} // namespace kelmo
