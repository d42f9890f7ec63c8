#pragma once

// What the speaker of the sample take says, and what the screen shows meanwhile.

#include <QString>

#include <vector>

namespace kelmo {

struct ScriptLine {
    QString text; ///< Word for word as it appears in the transcript.
    int pauseAfterMs = 0;
    int slide = 0; ///< Shown from this line on.
    int step = 0; ///< How much of the slide has appeared.
};

/// The whole talk, about a minute and a half.
[[nodiscard]] const std::vector<ScriptLine>& talkScript();

} // namespace kelmo
