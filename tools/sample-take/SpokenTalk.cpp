#include "tools/sample-take/SpokenTalk.h"

#include <QStringList>

#include <random>

namespace kelmo {

namespace {

constexpr int kWordsPerMinute = 162;
constexpr int kFillerWordsPerMinute = 105; // An um is slow.
constexpr double kLeadInMs = 900;
constexpr double kTailMs = 900;
constexpr float kPeak = 0.8F;

bool endsClause(const QString& word) { return QStringLiteral(",.?!:;").contains(word.back()); }

bool endsSentence(const QString& word) { return QStringLiteral(".?!").contains(word.back()); }

bool isFiller(const QString& clause)
{
    static const QStringList fillers
        = {QStringLiteral("um,"), QStringLiteral("uh,"), QStringLiteral("er,"), QStringLiteral("hmm,")};
    return fillers.contains(clause.toLower());
}

QStringList clausesOf(const QString& line)
{
    QStringList clauses;
    QStringList words;
    for (const QString& word : line.split(u' ')) {
        words.append(word);
        if (!endsClause(word))
            continue;
        clauses.append(words.join(u' '));
        words.clear();
    }
    return clauses;
}

/// Speaks line after line into a talk.
class Recital {
public:
    Recital(SpeechSynthesizer& voice, uint32_t seed)
        : m_voice(voice)
        , m_random(seed)
    {
        pause(kLeadInMs);
    }

    Result<void> say(const ScriptLine& line)
    {
        const double start = nowMs();
        for (const QString& clause : clausesOf(line.text)) {
            if (auto said = sayClause(clause); !said)
                return said;
        }
        pause(-m_lastBreathMs);
        m_talk.lines.push_back({start, nowMs(), line.slide, line.step});
        pause(line.pauseAfterMs);
        return {};
    }

    [[nodiscard]] double nowMs() const { return static_cast<double>(m_talk.samples.size()) * 1000 / kVoiceRate; }

    SpokenTalk finish(double lengthMs)
    {
        const float loudest = std::abs(*std::max_element(
            m_talk.samples.begin(), m_talk.samples.end(), [](float a, float b) { return std::abs(a) < std::abs(b); }));
        for (float& sample : m_talk.samples)
            sample *= kPeak / std::max(loudest, 1e-6F);
        m_talk.lengthMs = lengthMs;
        m_talk.samples.resize(static_cast<size_t>(std::llround(lengthMs * kVoiceRate / 1000)));
        return std::move(m_talk);
    }

private:
    Result<void> sayClause(const QString& clause)
    {
        const bool filler = isFiller(clause);
        const auto spoken = m_voice.speak(clause, filler ? kFillerWordsPerMinute : kWordsPerMinute);
        if (!spoken)
            return tl::unexpected(spoken.error());
        const double start = nowMs();
        const QStringList words = clause.split(u' ');
        for (qsizetype index = 0; index < words.size(); ++index) {
            const auto [from, to] = spoken->words[static_cast<size_t>(index)];
            const double sure = filler ? 0.62 + vary(0.2) : 0.9 + vary(0.09);
            m_talk.words.push_back({words[index], start + from * 1000.0 / kVoiceRate, start + to * 1000.0 / kVoiceRate,
                std::round(sure * 100) / 100});
        }
        m_talk.samples.insert(m_talk.samples.end(), spoken->samples.begin(), spoken->samples.end());
        m_lastBreathMs = endsSentence(words.last()) ? 360 + vary(90) : 130 + vary(70);
        pause(m_lastBreathMs);
        return {};
    }

    /// Silence; a negative one takes silence back.
    void pause(double ms)
    {
        const auto change = static_cast<int64_t>(std::llround(ms * kVoiceRate / 1000));
        m_talk.samples.resize(static_cast<size_t>(static_cast<int64_t>(m_talk.samples.size()) + change));
    }

    /// From 0 to `range`. The standard distributions differ from library to library; this one does not.
    double vary(double range) { return range * (m_random() % 1024) / 1024.0; }

    SpeechSynthesizer& m_voice;
    std::mt19937 m_random;
    SpokenTalk m_talk;
    double m_lastBreathMs = 0;
};

} // namespace

Result<SpokenTalk> speakTalk(
    SpeechSynthesizer& voice, const std::vector<ScriptLine>& script, double longestMs, uint32_t seed)
{
    Recital recital(voice, seed);
    SpokenTalk whole;
    // The lines that fit are only known once spoken, so a shorter talk is spoken whole first.
    for (const ScriptLine& line : script) {
        if (auto said = recital.say(line); !said)
            return tl::unexpected(said.error());
    }
    whole = recital.finish(std::ceil((recital.nowMs() + kTailMs) / kLoopUnitMs) * kLoopUnitMs);
    if (longestMs <= 0 || longestMs >= whole.lengthMs)
        return whole;

    const auto fits = [longestMs](double endMs) { return endMs + kTailMs / 2 <= longestMs; };
    std::erase_if(whole.lines, [&](const SpokenLine& line) { return !fits(line.endMs); });
    const double lastMs = whole.lines.empty() ? 0 : whole.lines.back().endMs;
    std::erase_if(whole.words, [lastMs](const SpokenWord& word) { return word.endMs > lastMs + 1; });
    whole.samples.resize(static_cast<size_t>(std::llround(lastMs * kVoiceRate / 1000)));
    whole.samples.resize(static_cast<size_t>(std::llround(longestMs * kVoiceRate / 1000)));
    whole.lengthMs = longestMs;
    return whole;
}

} // namespace kelmo
