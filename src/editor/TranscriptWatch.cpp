#include "editor/TranscriptWatch.h"

#include "platform/ThreadPriority.h"

#include <QFutureWatcher>
#include <QtConcurrent>

namespace kelmo {

namespace {

constexpr std::chrono::milliseconds interval{100};
constexpr int roundsForWords = 1800;
constexpr int roundsForAlignment = 1200;

} // namespace

TranscriptWatch::TranscriptWatch(For what, const Take& take, QThreadPool& workers)
    : m_what(what)
    , m_take(take)
    , m_workers(workers)
    , m_roundsLeft(what == For::Words ? roundsForWords : roundsForAlignment)
{
    m_waited.start();
    connect(&m_timer, &QTimer::timeout, this, &TranscriptWatch::look);
    m_timer.start(interval);
}

QString TranscriptWatch::transcriptPath(const Take& take)
{
    return take.dir.toLocalFile() % QStringLiteral("/") % take.base % QStringLiteral("_transcript.json");
}

TranscriptWatch::Stamp TranscriptWatch::stamp() const
{
    const QFileInfo file(transcriptPath(m_take));
    return file.exists() ? Stamp{file.lastModified(), file.size()} : Stamp();
}

bool TranscriptWatch::satisfies(const Take& take) const
{
    return m_what == For::Words ? !take.words.empty() : take.aligned;
}

void TranscriptWatch::look()
{
    if (m_roundsLeft-- <= 0) {
        m_timer.stop();
        Q_EMIT gaveUp();
        return;
    }
    const Stamp now = stamp();
    if (m_reading || now == m_seen)
        return;
    m_seen = now;
    m_reading = true;
    // A file that is being written reads as nothing yet; its time or size changes again when it is whole.
    auto* reading = new QFutureWatcher<Result<Take>>(this);
    connect(reading, &QFutureWatcherBase::finished, this, [this, reading] {
        m_reading = false;
        reading->deleteLater();
        const Result<Take> take = reading->result();
        if (take)
            receive(*take);
        else
            m_seen = {}; // Some other file of the take is being replaced: the next round looks again.
    });
    reading->setFuture(QtConcurrent::run(&m_workers, [dir = m_take.dir, base = m_take.base]() -> Result<Take> {
        lowerThreadPriority(ThreadPriority::BelowUi);
        return Take::load(dir, base);
    }));
}

void TranscriptWatch::receive(const Take& take)
{
    if (!satisfies(take) || !m_timer.isActive())
        return;
    m_timer.stop();
    Q_EMIT arrived(take, double(m_waited.nsecsElapsed()) / 1e6);
}

} // namespace kelmo
