#pragma once

#include "media/CompositionBuilder.h"
#include "tests/movies/CodedMovie.h"

namespace kelmo {

/// A take of coded movies in a folder of its own, loaded as the program loads it. Made by the test, main thread only.
class MadeTake {
    QTemporaryDir m_folder; // First, because the movies below lie in it.

public:
    MadeTake();

    CodedMovie screen; ///< To be changed before load(): 320×180, 30 frames a second, 10 s, AAC sound.
    std::optional<CodedMovie> webcam; ///< None unless withWebcam() is called.
    double webcamOffsetMs = 0;
    double screenAudioStartMs = 0;

    /// Adds a webcam movie of the same kind; its numbers start at 0, too.
    CodedMovie& withWebcam();

    /// Writes the movies and the sync file and loads the take; fails the test when that does not work.
    void load();
    /// Loads the take from movies that the test has written itself.
    void loadMade();

    [[nodiscard]] const Take& take() const { return m_take; }
    [[nodiscard]] std::shared_ptr<const LoadedTake> loaded() const { return m_loaded; }
    [[nodiscard]] std::shared_ptr<const Built> build(const std::vector<Span>& keep) const;
    [[nodiscard]] QString file(const QString& name) const { return m_folder.filePath(name); }

private:
    Take m_take;
    std::shared_ptr<const LoadedTake> m_loaded;
};

} // namespace kelmo
