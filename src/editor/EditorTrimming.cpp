#include "editor/Editor.h"
#include "model/TrimSnapping.h"
#include "platform/MonotonicClock.h"

namespace kelmo {

namespace {

constexpr double minEditMs = 100;

} // namespace

std::optional<QString> Editor::trim(std::optional<double> in, std::optional<double> out, const QString& name)
{
    const double duration = m_sourceDurationMs;
    if (duration <= 0)
        return userText(whyNotLoaded());
    const double start = std::clamp(in.value_or(m_cuts.trimIn), 0.0, duration);
    Cuts cuts = m_cuts;
    cuts.setTrim(start, out.value_or(m_cuts.trimOut), duration);
    if (std::min(cuts.trimOut, duration) - start < minEditMs)
        return QStringLiteral("The trim would leave less than 0.1 s");
    setCuts(std::move(cuts), name);
    return std::nullopt;
}

void Editor::clearTrim()
{
    if (!m_cuts.isTrimmed())
        return;
    Cuts cuts = m_cuts;
    cuts.setTrim(0, Cuts::noTrimOut, m_sourceDurationMs);
    setCuts(std::move(cuts), QStringLiteral("Clear Trim"));
}

void Editor::reportTrim(const std::optional<QString>& refusal)
{
    withdrawRefusal();
    m_refusal = refusal;
    if (refusal)
        setStatus(refusal, StatusKind::Problem);
}

void Editor::withdrawRefusal()
{
    if (m_refusal)
        withdrawStatus(*std::exchange(m_refusal, std::nullopt));
}

void Editor::trimStartToPlayhead()
{
    if (m_sourceDurationMs <= 0)
        return;
    const double target = TrimSnapping::snapIn(playheadSourceMs(), m_words, m_sourceDurationMs);
    reportTrim(trim(target, std::nullopt, QStringLiteral("Trim Start")));
}

void Editor::trimEndToPlayhead()
{
    if (m_sourceDurationMs <= 0)
        return;
    const double target = TrimSnapping::snapOut(playheadSourceMs(), m_words, m_sourceDurationMs);
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
