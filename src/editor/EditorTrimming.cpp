#include "editor/Editor.h"
#include "platform/MonotonicClock.h"

namespace kelmo {

namespace {

constexpr double leastEditMs = 100;
constexpr double snapDistanceMs = 250;

/// The boundary nearest to a time; the earlier in the list wins. A time inside a word always snaps to one, so that no
/// word is torn; one in silence only when a boundary is near.
double snapped(double time, const std::vector<double>& boundaries, const std::vector<Word>& words)
{
    const double nearest = *std::min_element(boundaries.begin(), boundaries.end(),
        [&](double a, double b) { return std::abs(a - time) < std::abs(b - time); });
    const bool insideWord = std::any_of(
        words.begin(), words.end(), [&](const Word& word) { return word.startMs < time && time < word.endMs; });
    return insideWord || std::abs(nearest - time) <= snapDistanceMs ? nearest : time;
}

} // namespace

std::optional<QString> Editor::trim(std::optional<double> in, std::optional<double> out, const QString& name)
{
    const double duration = m_sourceDurationMs;
    if (duration <= 0)
        return QStringLiteral("No take open");
    const double start = std::clamp(in.value_or(m_cuts.trimIn), 0.0, duration);
    const double end = out.value_or(m_cuts.trimOut);
    const double newOut = end < duration - 1 ? end : Cuts::noTrimOut;
    if (std::min(newOut, duration) - start < leastEditMs)
        return QStringLiteral("The trim would leave less than 0.1 s");
    Cuts cuts = m_cuts;
    cuts.trimIn = start >= 1 ? start : 0;
    cuts.trimOut = newOut;
    cuts.refresh();
    setCuts(std::move(cuts), name);
    return std::nullopt;
}

void Editor::clearTrim()
{
    if (!m_cuts.isTrimmed())
        return;
    Cuts cuts = m_cuts;
    cuts.trimIn = 0;
    cuts.trimOut = Cuts::noTrimOut;
    cuts.refresh();
    setCuts(std::move(cuts), QStringLiteral("Clear Trim"));
}

void Editor::reportTrim(const std::optional<QString>& refusal)
{
    if (refusal)
        setStatus(refusal, StatusKind::Problem);
}

void Editor::trimStartToPlayhead()
{
    if (m_sourceDurationMs <= 0)
        return;
    double target = playheadSourceMs();
    if (!m_words.empty()) {
        std::vector<double> boundaries{0};
        for (int i = 0; i < int(m_words.size()); ++i)
            boundaries.push_back(EditOps::trimInBefore(i, m_words, m_sourceDurationMs));
        target = snapped(target, boundaries, m_words);
    }
    reportTrim(trim(target, std::nullopt, QStringLiteral("Trim Start")));
}

void Editor::trimEndToPlayhead()
{
    if (m_sourceDurationMs <= 0)
        return;
    double target = playheadSourceMs();
    if (!m_words.empty()) {
        std::vector<double> boundaries{m_sourceDurationMs};
        for (int i = 0; i < int(m_words.size()); ++i)
            boundaries.push_back(EditOps::trimOutAfter(i, m_words, m_sourceDurationMs));
        target = snapped(target, boundaries, m_words);
    }
    reportTrim(trim(std::nullopt, target, QStringLiteral("Trim End")));
}

void Editor::beginTrimPreview()
{
    pausePlaying();
    if (m_trimPreviewing || !m_cuts.isTrimmed() || !m_loaded)
        return;
    m_trimPreviewing = true;
    Cuts untrimmed = m_cuts;
    untrimmed.trimIn = 0;
    untrimmed.trimOut = Cuts::noTrimOut;
    untrimmed.refresh();
    rebuild(
        QStringLiteral("trim preview"), MonotonicClock::nowMs(), std::nullopt, untrimmed.keep(m_loaded->durationMs));
}

void Editor::endTrimPreview(const QString& name)
{
    if (std::exchange(m_trimPreviewing, false))
        rebuild(name, MonotonicClock::nowMs());
}

} // namespace kelmo
