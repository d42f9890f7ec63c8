#include "views/timeline/Filmstrip.h"

#include "media/ThumbnailGenerator.h"
#include "platform/MonotonicClock.h"
#include "platform/ThreadPriority.h"
#include "telemetry/Log.h"

#include <QCoroFuture>
#include <QtConcurrent>

#include <limits>

namespace kelmo {

namespace {

enum class Kind { Picture, KeyPicture };

std::optional<Thumbnail> make(ThumbnailGenerator& generator, int bucket, Kind kind)
{
    lowerThreadPriority(ThreadPriority::FarBelowUi);
    const double ms = bucket * Filmstrip::bucketMs;
    if (kind == Kind::KeyPicture)
        return generator.keyPicture(ms);
    const Result<QImage> picture = generator.image(ms);
    return picture ? std::optional(Thumbnail{*picture, ms}) : std::nullopt;
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
        m_keyPictures.clear();
        m_pending.clear();
        m_waitingForKeys.clear();
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
    for (std::deque<int>* queue : {&m_waitingForKeys, &m_waiting})
        queue->insert(queue->end(), buckets.begin(), buckets.end());
    if (!m_working && !m_waiting.empty())
        work();
}

QCoro::Task<void> Filmstrip::work()
{
    const QPointer<Filmstrip> self(this);
    m_working = true;
    const double startedAt = MonotonicClock::nowMs();
    Log::line(u"timing", QStringLiteral("filmstrip asks for %1 pictures").arg(m_waiting.size()));
    while (!m_waiting.empty()) {
        const Kind kind = m_waitingForKeys.empty() ? Kind::Picture : Kind::KeyPicture;
        std::deque<int>& queue = kind == Kind::Picture ? m_waiting : m_waitingForKeys;
        const int bucket = queue.front();
        queue.pop_front();
        const std::shared_ptr<ThumbnailGenerator> generator = m_generator;
        const QFuture<std::optional<Thumbnail>> making
            = QtConcurrent::run(&m_worker, [generator, bucket, kind] { return make(*generator, bucket, kind); });
        const std::optional<Thumbnail> made = co_await making;
        if (!self)
            co_return;
        if (!made || generator != m_generator) // A failed one stays empty; one of another movie is of no use.
            continue;
        if (kind == Kind::KeyPicture) {
            m_keyPictures.insert(bucket, *made);
        } else {
            m_frames.insert(bucket, made->picture);
            m_keyPictures.remove(bucket);
        }
        Q_EMIT changed();
    }
    m_working = false;
    Log::line(u"timing",
        QStringLiteral("filmstrip filled in ") % QString::number(MonotonicClock::nowMs() - startedAt, 'f', 0)
            % QStringLiteral(" ms"));
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

QImage Filmstrip::standIn(double ms, double reachMs) const
{
    QImage best;
    double nearest = reachMs;
    const auto offer = [&](const QImage& picture, double pictureMs) {
        if (const double away = std::abs(pictureMs - ms); away <= nearest) {
            nearest = away;
            best = picture;
        }
    };
    for (auto frame = m_frames.begin(); frame != m_frames.end(); ++frame)
        offer(*frame, frame.key() * bucketMs);
    if (best.isNull())
        nearest = std::numeric_limits<double>::infinity();
    for (const Thumbnail& key : m_keyPictures)
        offer(key.picture, key.ms);
    return best;
}

} // namespace kelmo
