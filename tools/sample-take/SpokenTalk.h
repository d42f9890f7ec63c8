#pragma once

// The voice of the sample take: the script spoken, with the time of every word and line. A value; times are
// milliseconds from the start of the recording that holds the voice.

#include "platform/Error.h"
#include "tools/sample-take/Script.h"
#include "tools/sample-take/SpeechSynthesizer.h"

namespace kelmo {

struct SpokenWord {
    QString text;
    double startMs = 0;
    double endMs = 0;
    double confidence = 1;
};

struct SpokenLine {
    double startMs = 0;
    double endMs = 0;
    int slide = 0;
    int step = 0;
};

struct SpokenTalk {
    std::vector<float> samples; ///< Mono at kVoiceRate, as long as lengthMs.
    std::vector<SpokenWord> words;
    std::vector<SpokenLine> lines;
    double lengthMs = 0;
};

/// A talk's length is a multiple of this: then whole pictures at 30 frames a second, whole AAC packets at 48 kHz and
/// whole ticks of the screen movie fit, and movies of it can be repeated packet by packet.
constexpr double kLoopUnitMs = 8000.0 / 15;

/// Speaks the lines of `script` that end within `longestMs` (0: all of them); the talk is then exactly that long.
/// `seed` varies the breaths between clauses.
[[nodiscard]] Result<SpokenTalk> speakTalk(
    SpeechSynthesizer& voice, const std::vector<ScriptLine>& script, double longestMs, uint32_t seed);

} // namespace kelmo
