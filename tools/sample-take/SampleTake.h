#pragma once

// Makes the files of one take: both movies at the same time on two threads, then the sync file and the transcript.
// Owned by the program's main function.

#include "tools/sample-take/ScreenDirector.h"
#include "tools/sample-take/SpokenTalk.h"
#include "tools/sample-take/TakeOptions.h"

namespace kelmo {

class SampleTake {
public:
    SampleTake(const TakeOptions& options, SpokenTalk talk);

    /// Writes all files; answers with the path of the screen movie.
    [[nodiscard]] Result<QString> write() const;

private:
    [[nodiscard]] QString pathOf(const char* suffix) const;
    [[nodiscard]] Result<void> writeMovies() const;
    [[nodiscard]] Result<void> writeScreen(const QString& path) const;
    [[nodiscard]] Result<void> writeWebcam(const QString& path) const;
    [[nodiscard]] Result<void> writeSync() const;
    [[nodiscard]] Result<void> writeTranscript() const;
    /// Moves a movie of one talk to its place, repeating it as often as the take is longer.
    [[nodiscard]] Result<void> place(const QString& movie, const QString& path, double lengthMs) const;

    TakeOptions m_options;
    SpokenTalk m_talk; ///< On the webcam's clock; without a webcam, on the screen's.
    double m_offsetMs; ///< From the talk's clock to the screen's.
    double m_screenMs; ///< Length of the screen movie.
    double m_voiceMs; ///< Length of the movie that holds the voice.
    ScreenDirector m_director;
};

} // namespace kelmo
