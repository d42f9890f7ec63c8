#pragma once

// Text to speech by the espeak-ng library, with the sample at which every word starts. The library is one per process,
// so there is one object, owned by the program's main function and used on its thread.

#include "platform/Error.h"

#include <QString>

#include <vector>

namespace kelmo {

constexpr int kVoiceRate = 48000;

struct SpokenClause {
    std::vector<float> samples; ///< At kVoiceRate, without silence at the ends, full scale ±1.
    std::vector<std::pair<int, int>> words; ///< Sample range of each blank-separated word, half-open, in order.
};

class SpeechSynthesizer {
public:
    [[nodiscard]] static Result<SpeechSynthesizer> open(const QString& voice);

    /// Speaks one clause, at most one punctuation mark at its end, at `wordsPerMinute` (80 to 450).
    [[nodiscard]] Result<SpokenClause> speak(const QString& clause, int wordsPerMinute);

private:
    explicit SpeechSynthesizer(int sampleRate)
        : m_sampleRate(sampleRate)
    {
    }

    int m_sampleRate;
};

} // namespace kelmo
