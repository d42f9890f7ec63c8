#pragma once

#include "editor/CutsStep.h"
#include "editor/ExportResult.h"
#include "editor/FrameGrabs.h"
#include "editor/Playhead.h"
#include "editor/RecorderLink.h"
#include "editor/TranscriptWatch.h"
#include "editor/WorkLanes.h"
#include "media/Built.h"
#include "media/Exporter.h"
#include "media/PreviewItems.h"
#include "media/stack/player/Player.h"
#include "model/EditOps.h"

#include <QCoroTask>
#include <QFuture>
#include <QPromise>
#include <QUndoStack>

namespace kelmo {

/// The open take and its edit, and every command on them. Views, menus and agents read its state and call its
/// commands; nothing else changes the edit. One object for the whole run, owned by the application; main thread only.
/// Times are ms on the source clock unless a name says `edited`.
class Editor : public QObject {
    Q_OBJECT

public:
    enum class Sound { On, Muted };
    /// Whether a status line tells what was done, or what went wrong and is to be read.
    enum class StatusKind { Notice, Problem };

    /// Who opens a take. An agent begins with everything kept. A person's edit stays when the same take is opened once
    /// more, and until the media of another one is known to open.
    enum class Opener { Agent, Person };

    explicit Editor(Sound sound = Sound::On);
    ~Editor() override;

    // The take and its edit.
    [[nodiscard]] const std::optional<Take>& take() const { return m_take; }
    /// Whether this is the take that is open.
    [[nodiscard]] bool shows(const Take& take) const
    {
        return m_take && m_take->base == take.base && m_take->dir == take.dir;
    }
    [[nodiscard]] const std::vector<Word>& words() const { return m_words; }
    [[nodiscard]] const Cuts& cuts() const { return m_cuts; }
    [[nodiscard]] int cutRevision() const { return m_cutRevision; } ///< Grows with every change of the cuts.
    [[nodiscard]] int takeRevision() const { return m_takeRevision; } ///< Grows with every change of take or words.
    [[nodiscard]] bool awaitingWords() const { return m_awaitingWords; } ///< The transcript has yet to come.
    [[nodiscard]] double sourceDurationMs() const { return m_sourceDurationMs; } ///< 0 until the media is loaded.
    [[nodiscard]] const Timeline& timeline() const { return m_timeline; } ///< Of what the preview shows.
    [[nodiscard]] const Timeline& fullTimeline() const { return m_fullTimeline; } ///< The same with the trim ignored.
    [[nodiscard]] const std::optional<Span>& selection() const { return m_selection; }
    [[nodiscard]] const std::vector<double>& splits() const { return m_splits; } ///< Ascending.
    [[nodiscard]] bool isTrimPreviewing() const { return m_trimPreviewing; }
    [[nodiscard]] int fillerCount() const { return m_fillerCount; } ///< Fillers not cut yet.
    [[nodiscard]] int pauseCount() const { return m_pauseCount; } ///< Spans that tightening would add.
    [[nodiscard]] std::shared_ptr<const LoadedTake> loaded() const { return m_loaded; }
    [[nodiscard]] std::shared_ptr<const Built> built() const { return m_built; } ///< What the preview shows.
    /// What the edit comes to, which a trim preview shows without its trim. Null until the media is loaded.
    [[nodiscard]] std::shared_ptr<const Built> edit() const;
    [[nodiscard]] Playhead& playhead() { return m_playhead; }
    [[nodiscard]] const Playhead& playhead() const { return m_playhead; }
    [[nodiscard]] QUndoStack& undo() { return m_undo; }

    // What the window shows besides.
    [[nodiscard]] const std::optional<QString>& status() const { return m_status; } ///< One line for the user.
    [[nodiscard]] StatusKind statusKind() const { return m_statusKind; }
    void setStatus(std::optional<QString> status, StatusKind kind = StatusKind::Notice);
    /// Clears the status if it still says this: what a problem says is no longer so.
    void withdrawStatus(const QString& status);
    [[nodiscard]] const std::vector<Take::Listing>& takes() const { return m_takes; }
    [[nodiscard]] std::optional<double> exportProgress() const { return m_exportProgress; } ///< 0 to 1 while exporting.
    [[nodiscard]] Codec codec() const { return m_codec; }
    [[nodiscard]] std::optional<int> exportHeight() const { return m_exportHeight; } ///< Lines; none = native.
    [[nodiscard]] int exportFPS() const { return m_exportFPS; }
    void setCodec(Codec codec);
    void setExportHeight(std::optional<int> lines);
    void setExportFPS(int fps);

    // Opening. The take is there when open() returns, unless it waits for its media; the media follows.
    void open(const QString& path, Opener opener = Opener::Agent); ///< Any file of the take. Errors become the status.
    /// Lists the recordings folder and opens its newest take. Does nothing if the folder holds none.
    void openNewest(Opener opener = Opener::Agent);
    /// Waits for the loading of the open take, if it is under way. Fails if another one is opened first; whether the
    /// media could be opened is told by the command that needs it.
    QCoro::Task<Result<void>> whenLoaded();
    std::function<void()> onOpen; ///< Called at the very start of every open.
    std::function<void(const Take&)> onTakeReady; ///< Called when a take's first composition is built.

    // Edits. Each is one undoable step with a name; one that changes nothing is none.
    void setCuts(Cuts cuts, const QString& name);
    void toggleWords(const std::vector<int>& indices); ///< Cuts them, or restores them when all are cut.
    void restoreRanges(const std::vector<Span>& ranges);
    /// Absent sides stay as they are. Answers why it was refused, if it was.
    std::optional<QString> trim(std::optional<double> in, std::optional<double> out, const QString& name);
    void clearTrim();
    void trimStartToPlayhead();
    void trimEndToPlayhead();
    void deleteSelection();
    void cutFillers();
    void tightenPauses();
    [[nodiscard]] std::vector<Span> wordSpans(const std::vector<int>& indices) const; ///< What cutting them would cut.

    // Playing. A player comes into being only when something is to be seen or heard.
    [[nodiscard]] bool isPlaying() const { return m_playing; } ///< Plays, or waits to.
    [[nodiscard]] double playbackRate() const { return m_playbackRate; }
    [[nodiscard]] bool isMuted() const { return m_sound == Sound::Muted; }
    static constexpr std::array playbackRates{1.0, 1.5, 2.0, 3.0};
    void togglePlay(); ///< From the start again when at the end.
    void pausePlaying();
    void seekToWord(int index); ///< Ignores words that there are not.
    void setPlaybackRate(double rate); ///< At once while playing, else from the next play on.
    /// Size of the preview in device pixels; empty while it is hidden, and then no frame is made.
    void setPictureBox(QSize pixels);
    [[nodiscard]] std::shared_ptr<const QImage> picture() const; ///< The edit's picture now; null before the first.

    // Selecting, splitting, looking: no undo steps.
    void setSelection(std::optional<Span> selection);
    [[nodiscard]] std::optional<Span> selectionSpan(double from, double to, bool exact) const;
    void splitAtPlayhead();
    [[nodiscard]] std::optional<Span> piece(double at) const;
    void beginTrimPreview(); ///< Shows the edit without its trim until the next setCuts.
    void previewSource(double ms); ///< Moves the playhead to a source time.
    void tick(double editedMs); ///< The playhead is here now.

    // Export and frames.
    /// Exports to the user's Movies folder. `height` 0 means native; absent arguments take the settings.
    QCoro::Task<Result<ExportResult>> exportVideo(
        std::optional<Codec> codec, std::optional<int> height, std::optional<int> fps, QString engine);
    /// Exports with the settings and shows the file in the file manager; what goes wrong becomes the status.
    QCoro::Task<void> exportFromUI();
    void cancelExport();
    /// The edit at a moment of the edited clock as a PNG of at most `maxWidth` pixels on either side.
    QCoro::Task<Result<QByteArray>> frame(double atEditedMs, double maxWidth);

Q_SIGNALS:
    void takeChanged(); ///< Take, words, or whether words are awaited.
    void cutsChanged();
    void timelineChanged();
    void selectionChanged();
    void splitsChanged();
    void countsChanged();
    void statusChanged();
    void takesChanged();
    void exportChanged(); ///< Progress or settings.
    void playingChanged();
    void playbackRateChanged();
    void pictureChanged();

private:
    // EditorCommands.cpp, EditorTrimming.cpp
    void applyCuts(const Cuts& cuts, const QString& name, CutsStep::Origin origin);
    void endTrimPreview(const QString& name);
    int replaceWordCuts(const QString& reason, const std::vector<Word>& newWords);
    void recount();
    [[nodiscard]] double playheadSourceMs() const { return m_timeline.source(m_playhead.ms()); }
    void reportTrim(const std::optional<QString>& refusal);
    void withdrawRefusal();

    // EditorOpening.cpp
    struct Opening;
    void begin(const Opening& opening);
    void resetTo(Take take);
    void adopt(const LoadedTake::Opened& loaded, const Opening& opening);
    void failToOpen(const QString& message, const Error& error);
    void rebuild(const QString& reason, double startedAt, std::optional<double> seekSourceMs = {},
        std::optional<std::vector<Span>> keep = {});
    void watchAlignment(const Take& take);
    void watchForWords(const Take& take);
    void startWatch(TranscriptWatch::For what, const Take& take);
    void adoptWords(const Take& take, double waitedMs);
    void applyAligned(const Take& take, double waitedMs);

    // EditorLoading.cpp
    void endLoading();
    [[nodiscard]] Error whyNotLoaded() const;

    // EditorPlayback.cpp
    [[nodiscard]] Player& player();
    void seekPlayer(double editedMs);
    void showBuilt(const QString& reason, double startedAt, double builtAt, double editedMs);
    void settleRebuild(const QString& reason, double startedAt, double builtAt, bool resumes);
    void logRebuild(const QString& reason, double startedAt, double builtAt) const;
    void noteFirstFrame();

    // EditorExport.cpp
    [[nodiscard]] ExportSettings exportSettings(
        std::optional<Codec> codec, std::optional<int> height, std::optional<int> fps, const QString& engine) const;
    [[nodiscard]] QFuture<Result<ExportReport>> startExport(
        const std::shared_ptr<const Built>& edit, const ExportSettings& settings, const QString& path);
    void setExportProgress(std::optional<double> progress);
    void announceExport(const ExportSettings& settings, const ExportResult& result);

    const Sound m_sound;
    std::optional<Take> m_take;
    std::vector<Word> m_words;
    Cuts m_cuts;
    int m_cutRevision = 0;
    int m_takeRevision = 0;
    bool m_awaitingWords = false;
    double m_sourceDurationMs = 0;
    Timeline m_timeline;
    Timeline m_fullTimeline;
    std::optional<Span> m_selection;
    std::vector<double> m_splits;
    bool m_trimPreviewing = false;
    int m_fillerCount = 0;
    int m_pauseCount = 0;
    std::shared_ptr<const LoadedTake> m_loaded;
    std::optional<Error> m_openError; ///< Why the open take has no media.
    std::shared_ptr<const Built> m_built;
    std::optional<QPromise<void>> m_loading; ///< Ends when the open take's media is there, or will not be.
    std::optional<double> m_openStartedMs; ///< Until the first picture is on show.
    int m_buildGeneration = 0; ///< Grows with every rebuild, so that an overtaken seek knows that it is stale.
    int m_takeCount = 0; ///< Takes that have been open so far.
    int m_openGeneration = 0; ///< Grows with every open, so that a slow load knows that it is stale.
    Playhead m_playhead;
    QUndoStack m_undo;

    std::optional<QString> m_status;
    StatusKind m_statusKind = StatusKind::Notice;
    std::optional<QString>
        m_refusal; ///< Why the latest command did nothing; until the edit or the playhead is another.
    std::vector<Take::Listing> m_takes;
    std::optional<double> m_exportProgress;
    Codec m_codec = Codec::Hevc;
    std::optional<int> m_exportHeight;
    int m_exportFPS = 30;
    std::shared_ptr<std::atomic<bool>> m_exportCancelled;

    WorkLanes m_lanes;
    FrameGrabs m_grabs{m_lanes.grabbing};
    RecorderLink m_recorder;
    std::unique_ptr<TranscriptWatch> m_watch;

    bool m_playing = false;
    double m_playbackRate = 1;
    PreviewItems m_previewItems;
    std::unique_ptr<Player> m_player; ///< None until it is needed: agents alone need none.
};

} // namespace kelmo
