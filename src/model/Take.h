#pragma once

#include "model/Word.h"
#include "platform/Error.h"

#include <QDateTime>
#include <QString>
#include <QUrl>

#include <optional>
#include <vector>

namespace kelmo {

/// One recording: the files in a folder that share a base name, with the words already on the screen movie's clock.
/// An immutable value by convention; its functions only read files and may run on any thread.
struct Take {
    /// One row of the recordings folder, newest first.
    struct Listing {
        QUrl url; ///< folder plus base plus ".mov", even when only an ".mp4" is there
        QString base;
        QDateTime date; ///< of the sync file; the earliest time there is when it can't be read

        bool operator==(const Listing&) const = default;

        /// What tells rows apart in a list view.
        [[nodiscard]] QString id() const { return url.path(); }
    };

    QString base;
    QUrl dir;
    QUrl screenURL; ///< existed when the take was loaded
    std::optional<QUrl> webcamURL;
    std::vector<Word> words; ///< sorted by start, on the screen movie's clock; empty without a usable transcript
    double webcamOffsetMs = 0; ///< add it to a webcam time to get the screen time, in ms
    double screenAudioStartMs = 0; ///< where the screen movie's sound starts, in ms
    QString recorder;
    bool aligned = false; ///< the word times have been force-aligned
    bool transcribed = false; ///< the transcript is there and whole, with words or without

    bool operator==(const Take&) const = default;

    /// CORVANE_TAKES_DIR when it is set and not empty, taken as it is, else the recorder's folder in the home folder.
    [[nodiscard]] static QUrl recordingsDir();

    /// The takes directly inside `folder`, newest first; empty when the folder can't be read.
    [[nodiscard]] static std::vector<Listing> list(const QUrl& folder);

    /// Finds the take that any one of its files belongs to, without reading its words, which takes longest. A leading
    /// "~" means the home folder, a relative path starts at the working directory.
    [[nodiscard]] static Result<Take> find(const QString& path);

    /// Fails with ("Take", 1) when there is no screen movie; everything else that is missing or broken counts as
    /// absent.
    [[nodiscard]] static Result<Take> find(const QUrl& dir, const QString& base);

    /// The age of a file in ms. The maximum if the file is missing or dated in the future: it is not new then.
    [[nodiscard]] static qint64 ageMs(const QString& path);

    [[nodiscard]] QString syncPath() const;

    /// Whether both movies lie in the take's own folder and no link leads to another one.
    [[nodiscard]] bool isSelfContained() const;

    /// Reads the words, and whether they are aligned, from the take's transcript.
    void readWords();

    /// Finds a take and reads its words.
    [[nodiscard]] static Result<Take> load(const QString& path);
    [[nodiscard]] static Result<Take> load(const QUrl& dir, const QString& base);
};

[[nodiscard]] size_t qHash(const Take::Listing& listing, size_t seed = 0) noexcept;

} // namespace kelmo
