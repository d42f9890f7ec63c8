#pragma once

#include "model/Word.h"
#include "tests/movies/CodedMovie.h"

#include <QJsonObject>

namespace kelmo {

/// A folder of takes whose files a test writes, replaces and ages as the recorder does. Owned by the test; main thread
/// only.
class TakeFolder {
public:
    enum class Aligned { No, Yes };

    [[nodiscard]] QString file(const QString& name) const { return m_folder.filePath(name); }
    [[nodiscard]] QString movie(const QString& base) const { return file(base + QStringLiteral(".mov")); }
    [[nodiscard]] QString transcript(const QString& base) const
    {
        return file(base + QStringLiteral("_transcript.json"));
    }

    /// A silent little screen movie of two pictures a second.
    void makeMovie(const QString& base, int seconds) const;
    /// A movie to be changed before make(): 320×180, 30 pictures a second, stereo sound.
    [[nodiscard]] CodedMovie talkingMovie(const QString& name, int seconds) const;

    void writeSync(const QString& base, const QJsonObject& fields = {}) const;
    /// Replaces the transcript at once, as by renaming a whole file.
    void writeTranscript(const QString& base, const std::vector<Word>& words, Aligned aligned) const;
    void write(const QString& name, const QByteArray& bytes) const;
    /// Makes a file's time of change lie in the past.
    void age(const QString& path, double seconds) const;

    [[nodiscard]] static QByteArray transcriptJson(const std::vector<Word>& words, Aligned aligned);
    /// One word a second, said from 200 to 700 ms of it, moved by `shiftMs`.
    [[nodiscard]] static std::vector<Word> talk(int count, double shiftMs = 0);

private:
    QTemporaryDir m_folder;
};

} // namespace kelmo
