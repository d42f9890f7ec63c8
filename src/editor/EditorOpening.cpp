#include "editor/Editor.h"
#include "media/CompositionBuilder.h"
#include "platform/MonotonicClock.h"
#include "platform/ThreadPriority.h"
#include "telemetry/Log.h"

#include <QFutureWatcher>
#include <QtConcurrent>

namespace kelmo {

namespace {

/// A recorder aligns fresh transcripts by itself; it is asked only for older ones.
constexpr qint64 freshTranscriptMs = 15'000;
/// A recording this long finished will not get a transcript any more.
constexpr qint64 freshRecordingMs = 180'000;
constexpr qsizetype maxLoggedError = 5000; ///< The longest path and a sentence.

QString ms(double value) { return QString::number(value, 'f', 0) % QStringLiteral(" ms"); }

QString yesNo(bool value) { return value ? QStringLiteral("true") : QStringLiteral("false"); }

QString offset(double value) { return QString::number(value, 'f', value == std::floor(value) ? 1 : -1); }

QString describe(const LoadedTake& loaded)
{
    return QStringLiteral("%1×%2 @ %3 fps, %4+%5 audio, face: %6")
        .arg(loaded.renderWidth)
        .arg(loaded.renderHeight)
        .arg(double(loaded.fps))
        .arg(loaded.screenAudio.size())
        .arg(loaded.camAudio.size())
        .arg(yesNo(loaded.camVideo.has_value()));
}

} // namespace

/// A take that is being opened.
struct Editor::Opening {
    Take take;
    double startedAt; ///< ms, on the monotonic clock
    double parsedAt;
    bool keepsEdit; ///< The take before stays open until the media of this one is loaded.
};

void Editor::openNewest(Opener opener)
{
    m_takes = Take::list(Take::recordingsDir());
    Q_EMIT takesChanged();
    if (!m_takes.empty())
        open(m_takes.front().url.toLocalFile(), opener);
}

void Editor::open(const QString& path, Opener opener)
{
    if (onOpen)
        onOpen();
    const double startedAt = MonotonicClock::nowMs();
    Result<Take> take = Take::find(path);
    if (!take) {
        failToOpen(userText(take.error()), take.error());
        return;
    }
    const bool byPerson = opener == Opener::Person;
    if (byPerson && shows(*take) && !m_openError)
        return;
    // The movies' tables are read on a worker while the words are read here.
    const auto loading = QtConcurrent::run(&m_lanes.opening, [files = *take] {
        lowerThreadPriority(ThreadPriority::BelowUi);
        return LoadedTake::load(files);
    });
    take->readWords();
    const Opening opening{*std::move(take), startedAt, MonotonicClock::nowMs(), byPerson && m_loaded};
    ++m_openGeneration;
    if (!opening.keepsEdit)
        begin(opening);
    // A watcher tells of a finished future through the event loop, so a take is never ready before this call is over.
    auto* const watcher = new QFutureWatcher<LoadedTake::Opened>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher, opening, generation = m_openGeneration] {
        watcher->deleteLater();
        if (m_openGeneration == generation)
            adopt(watcher->result(), opening);
    });
    watcher->setFuture(loading);
}

void Editor::failToOpen(const QString& message, const Error& error)
{
    setStatus(message, StatusKind::Problem);
    // The path may have come from an agent.
    Log::line(u"error", QStringLiteral("open failed: ") % Log::printable(logText(error), maxLoggedError));
}

void Editor::begin(const Opening& opening)
{
    pausePlaying();
    m_openStartedMs = opening.startedAt;
    resetTo(opening.take);
    watchAlignment(*m_take);
    Log::line(u"timing",
        QStringLiteral("open ") % m_take->base % QStringLiteral(": files + transcript parsed in ")
            % ms(opening.parsedAt - opening.startedAt)
            % QStringLiteral(" (%1 words, webcam: %2, offset %3 ms, audioStart %4 ms)")
                  .arg(m_words.size())
                  .arg(yesNo(m_take->webcamURL.has_value()), offset(m_take->webcamOffsetMs),
                      offset(m_take->screenAudioStartMs)));
}

void Editor::resetTo(Take take)
{
    ++m_takeCount;
    endLoading();
    m_loading.emplace().start();
    m_grabs.drop();
    m_watch.reset();
    m_awaitingWords = false;
    m_take = std::move(take);
    m_words = m_take->words;
    m_cuts = {};
    m_selection.reset();
    m_splits.clear();
    m_trimPreviewing = false;
    m_undo.clear();
    m_loaded.reset();
    m_openError.reset();
    m_built.reset();
    if (m_player)
        m_player->setItem(nullptr); // Its last picture stays until the new take's first.
    m_sourceDurationMs = 0;
    m_timeline = {};
    m_fullTimeline = {};
    m_playhead.setMs(0);
    m_playhead.setWord(std::nullopt);
    ++m_takeRevision;
    ++m_cutRevision;
    recount();
    setStatus(std::nullopt);
    Q_EMIT takeChanged();
    Q_EMIT cutsChanged();
    Q_EMIT timelineChanged();
    Q_EMIT selectionChanged();
    Q_EMIT splitsChanged();
}

void Editor::adopt(const LoadedTake::Opened& loaded, const Opening& opening)
{
    if (!loaded) {
        if (!opening.keepsEdit)
            m_openError = loaded.error();
        endLoading();
        failToOpen(QStringLiteral("Couldn't open: ") % userText(loaded.error()), loaded.error());
        return;
    }
    if (opening.keepsEdit)
        begin(opening);
    m_loaded = *loaded;
    m_sourceDurationMs = m_loaded->durationMs;
    Log::line(u"timing",
        QStringLiteral("tracks loaded at ") % ms(MonotonicClock::nowMs() - opening.startedAt) % QStringLiteral(" (")
            % describe(*m_loaded) % QStringLiteral(")"));
    rebuild(QStringLiteral("open"), MonotonicClock::nowMs(), 0);
    if (onTakeReady)
        onTakeReady(*m_take);
    recount();
    endLoading();
}

void Editor::rebuild(
    const QString& reason, double startedAt, std::optional<double> seekSourceMs, std::optional<std::vector<Span>> keep)
{
    if (!m_loaded)
        return;
    const double seekTo = seekSourceMs.value_or(playheadSourceMs());
    const bool isOverride = keep.has_value();
    m_built = CompositionBuilder::build(m_loaded, keep ? *keep : m_cuts.keep(m_loaded->durationMs));
    const double builtAt = MonotonicClock::nowMs();
    m_timeline = m_built->timeline;
    m_fullTimeline = m_timeline;
    if (!isOverride && m_cuts.isTrimmed()) {
        Cuts untrimmed = m_cuts;
        untrimmed.trimIn = 0;
        untrimmed.trimOut = Cuts::noTrimOut;
        untrimmed.refresh();
        m_fullTimeline = Timeline(untrimmed.keep(m_loaded->durationMs));
    }
    showBuilt(reason, startedAt, builtAt, m_timeline.edited(seekTo));
    Q_EMIT timelineChanged();
}

void Editor::watchAlignment(const Take& take)
{
    m_watch.reset();
    m_awaitingWords = false;
    if (take.words.empty()) {
        watchForWords(take);
        return;
    }
    if (take.aligned)
        return;
    if (Take::ageMs(TranscriptWatch::transcriptPath(take)) > freshTranscriptMs)
        m_recorder.requestAlign(take.base);
    startWatch(TranscriptWatch::For::Alignment, take);
}

void Editor::watchForWords(const Take& take)
{
    // A whole transcript without words is simply empty; the recorder may still be writing one that is not whole.
    if (take.transcribed || Take::ageMs(take.syncPath()) >= freshRecordingMs)
        return;
    m_awaitingWords = true;
    ++m_takeRevision;
    startWatch(TranscriptWatch::For::Words, take);
    Q_EMIT takeChanged();
}

void Editor::startWatch(TranscriptWatch::For what, const Take& take)
{
    m_watch = std::make_unique<TranscriptWatch>(what, take, m_lanes.watching);
    const bool forWords = what == TranscriptWatch::For::Words;
    connect(
        m_watch.get(), &TranscriptWatch::arrived, this,
        [this, forWords](const Take& arrived, double waitedMs) {
            forWords ? adoptWords(arrived, waitedMs) : applyAligned(arrived, waitedMs);
        },
        Qt::QueuedConnection);
    connect(m_watch.get(), &TranscriptWatch::gaveUp, this, [this, forWords, base = take.base] {
        if (!forWords) {
            Log::line(u"align",
                QStringLiteral("no aligned transcript for ") % base
                    % QStringLiteral(" after 2 min; cuts stay on Parakeet stamps"));
            return;
        }
        m_awaitingWords = false;
        ++m_takeRevision;
        Log::line(u"align", QStringLiteral("no transcript for ") % base % QStringLiteral(" after 3 min"));
        Q_EMIT takeChanged();
    });
}

void Editor::adoptWords(const Take& take, double waitedMs)
{
    if (!shows(take))
        return;
    m_awaitingWords = false;
    replaceWordCuts(QStringLiteral("transcript"), take.words);
    m_take = take;
    ++m_takeRevision;
    Log::line(u"timing",
        QStringLiteral("late transcript adopted ") % ms(waitedMs)
            % QStringLiteral(" after open (%1 words, aligned: %2)").arg(take.words.size()).arg(yesNo(take.aligned)));
    tick(m_playhead.ms());
    Q_EMIT takeChanged();
    if (!take.aligned)
        watchAlignment(take);
}

void Editor::applyAligned(const Take& take, double waitedMs)
{
    if (!shows(take))
        return;
    if (take.words.size() != m_words.size()) {
        Log::line(u"align",
            QStringLiteral("aligned transcript has %1 words, editor has %2; ignoring")
                .arg(take.words.size())
                .arg(m_words.size()));
        return;
    }
    const int replaced = replaceWordCuts(QStringLiteral("aligned"), take.words);
    m_take = take;
    ++m_takeRevision;
    Log::line(u"timing",
        QStringLiteral("aligned word times applied ") % ms(waitedMs)
            % QStringLiteral(" after open (%1 cut words re-placed)").arg(replaced));
    tick(m_playhead.ms());
    Q_EMIT takeChanged();
}

} // namespace kelmo
