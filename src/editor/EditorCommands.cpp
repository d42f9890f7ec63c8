#include "editor/Editor.h"
#include "platform/MonotonicClock.h"
#include "telemetry/Analytics.h"

namespace kelmo {

namespace {

constexpr double longPauseMs = 400;
constexpr double tightPauseMs = 150;
constexpr double minSplitDistanceMs = 200;
constexpr double minSelectionMs = 20;

/// Takes ranges back out of the cuts, and moves the trim back where it hides them.
void restore(Cuts& cuts, const std::vector<Span>& ranges, double durationMs)
{
    double in = cuts.trimIn;
    double out = cuts.trimOut;
    for (const Span range : ranges) {
        if (range.isEmpty())
            continue;
        in = std::min(in, std::max(0.0, range.start));
        out = std::max(out, range.end);
    }
    cuts.subtract(ranges);
    cuts.setTrim(in, out, durationMs);
}

/// Those of the indices that are of words there are.
std::vector<int> known(const std::vector<int>& indices, size_t words)
{
    std::vector<int> found;
    std::copy_if(indices.begin(), indices.end(), std::back_inserter(found),
        [&](int index) { return index >= 0 && size_t(index) < words; });
    return found;
}

/// The spans in which nothing is said. Spans and words both ascend, so one pass does for any number of them.
std::vector<Span> spansWithoutWords(const std::vector<Span>& spans, const std::vector<Word>& words)
{
    std::vector<Span> silent;
    auto word = words.begin();
    double said = -std::numeric_limits<double>::infinity();
    for (const Span span : spans) {
        for (; word != words.end() && word->startMs < span.end; ++word)
            said = std::max(said, word->endMs);
        if (said <= span.start)
            silent.push_back(span);
    }
    return silent;
}

QString counted(int number, const QString& noun)
{
    return QString::number(number) % QStringLiteral(" ") % noun % (number == 1 ? QString() : QStringLiteral("s"));
}

} // namespace

void Editor::setCuts(Cuts cuts, const QString& name)
{
    setSelection(std::nullopt);
    if (cuts == m_cuts) {
        endTrimPreview(name);
        return;
    }
    m_undo.push(new CutsStep(name, m_cuts, std::move(cuts),
        [this](const Cuts& value, const QString& step, CutsStep::Origin origin) { applyCuts(value, step, origin); }));
}

void Editor::applyCuts(const Cuts& cuts, const QString& name, CutsStep::Origin origin)
{
    setSelection(std::nullopt);
    withdrawRefusal();
    m_trimPreviewing = false;
    const QString kind = origin == CutsStep::Origin::Undo ? QStringLiteral("undo")
        : origin == CutsStep::Origin::Redo                ? QStringLiteral("redo")
                                                          : name;
    Analytics::capture(QStringLiteral("edit_made"), {{QStringLiteral("kind"), kind}});
    const double startedAt = MonotonicClock::nowMs();
    m_cuts = cuts;
    ++m_cutRevision;
    rebuild(name, startedAt);
    recount();
    Q_EMIT cutsChanged();
}

void Editor::recount()
{
    m_fillerCount = int(EditOps::fillerIndices(m_words, m_cuts.effective).size());
    m_pauseCount
        = int(EditOps::tightenSpans(m_words, m_cuts.effective, m_sourceDurationMs, longPauseMs, tightPauseMs).size());
    Q_EMIT countsChanged();
}

void Editor::toggleWords(const std::vector<int>& indices)
{
    const std::vector<int> toggled = known(indices, m_words.size());
    if (toggled.empty())
        return;
    const bool allCut = std::all_of(toggled.begin(), toggled.end(),
        [&](int index) { return EditOps::isCut(m_words[size_t(index)], m_cuts.effective); });
    Cuts cuts = m_cuts;
    if (allCut)
        restore(cuts, wordSpans(toggled), m_sourceDurationMs);
    else
        cuts.add(wordSpans(toggled));
    setCuts(std::move(cuts), allCut ? QStringLiteral("Restore Words") : QStringLiteral("Delete Words"));
}

std::vector<Span> Editor::wordSpans(const std::vector<int>& indices) const
{
    // Words can be cut before the media is loaded, when the length of the take is not known yet.
    const std::optional<double> duration = m_sourceDurationMs > 0 ? std::optional(m_sourceDurationMs) : std::nullopt;
    std::vector<Span> spans;
    for (const EditOps::IndexRange run : EditOps::runs(known(indices, m_words.size())))
        spans.push_back(EditOps::span(m_words, run.lo, run.hi, duration));
    return spans;
}

void Editor::restoreRanges(const std::vector<Span>& ranges)
{
    Cuts cuts = m_cuts;
    restore(cuts, ranges, m_sourceDurationMs);
    setCuts(std::move(cuts), QStringLiteral("Restore Ranges"));
}

void Editor::deleteSelection()
{
    if (!m_selection)
        return;
    const Span selection = *m_selection;
    const auto inside = [&](double split) { return selection.start + 1 < split && split < selection.end - 1; };
    if (std::erase_if(m_splits, inside) > 0)
        Q_EMIT splitsChanged();
    Cuts cuts = m_cuts;
    cuts.add({selection});
    setCuts(std::move(cuts), QStringLiteral("Delete Range"));
}

void Editor::cutFillers()
{
    const std::vector<int> fillers = EditOps::fillerIndices(m_words, m_cuts.effective);
    Cuts cuts = m_cuts;
    cuts.add(wordSpans(fillers));
    setCuts(std::move(cuts), QStringLiteral("Cut Fillers"));
    setStatus(QStringLiteral("Cut ") % counted(int(fillers.size()), QStringLiteral("filler")));
}

void Editor::tightenPauses()
{
    const std::vector<Span> spans
        = EditOps::tightenSpans(m_words, m_cuts.effective, m_sourceDurationMs, longPauseMs, tightPauseMs);
    Cuts cuts = m_cuts;
    cuts.add(spans);
    setCuts(std::move(cuts), QStringLiteral("Tighten Pauses"));
    setStatus(QStringLiteral("Tightened ") % counted(int(spans.size()), QStringLiteral("pause"))
        % QStringLiteral(" to 0.15 s"));
}

std::optional<Span> Editor::selectionSpan(double from, double to, bool exact) const
{
    const Span range{std::max(std::min(from, to), m_cuts.trimIn),
        std::min(std::max(from, to), std::min(m_cuts.trimOut, m_sourceDurationMs))};
    if (range.end - range.start < minSelectionMs)
        return std::nullopt;
    if (exact)
        return range;
    const auto covered = [&](const Word& word) {
        const double middle = (word.startMs + word.endMs) / 2;
        return range.start <= middle && middle <= range.end;
    };
    const auto first = std::find_if(m_words.begin(), m_words.end(), covered);
    if (first == m_words.end())
        return range;
    const auto last = std::find_if(m_words.rbegin(), m_words.rend(), covered);
    return EditOps::span(m_words, int(first - m_words.begin()), int(m_words.rend() - last) - 1, m_sourceDurationMs);
}

void Editor::splitAtPlayhead()
{
    const double at = playheadSourceMs();
    const double end = std::min(m_cuts.trimOut, m_sourceDurationMs);
    if (at <= m_cuts.trimIn + minSplitDistanceMs || at >= end - minSplitDistanceMs)
        return;
    const bool crowded = std::any_of(
        m_splits.begin(), m_splits.end(), [&](double split) { return std::abs(split - at) < minSplitDistanceMs; });
    if (crowded)
        return;
    m_splits.insert(std::upper_bound(m_splits.begin(), m_splits.end(), at), at);
    Q_EMIT splitsChanged();
    setSelection(std::nullopt);
}

std::optional<Span> Editor::piece(double at) const
{
    if (m_splits.empty())
        return std::nullopt;
    const double end = std::min(m_cuts.trimOut, m_sourceDurationMs);
    double start = m_cuts.trimIn;
    for (const double split : m_splits) {
        if (split <= m_cuts.trimIn || split >= end)
            continue;
        if (start <= at && at < split)
            return Span{start, split};
        start = split;
    }
    return start <= at && at < end ? std::optional(Span{start, end}) : std::nullopt;
}

int Editor::replaceWordCuts(const QString& reason, const std::vector<Word>& newWords)
{
    Cuts untrimmed = m_cuts;
    untrimmed.trimIn = 0;
    untrimmed.trimOut = Cuts::noTrimOut;
    untrimmed.refresh();

    std::vector<int> cutWords;
    for (int i = 0; i < int(m_words.size()); ++i) {
        if (EditOps::isCut(m_words[size_t(i)], untrimmed.effective))
            cutWords.push_back(i);
    }
    // Cuts in silence keep their times; all others follow their words.
    const std::vector<Span> silent = spansWithoutWords(m_cuts.spans, m_words);
    const std::optional<int> firstKept
        = m_cuts.trimIn > 0 ? EditOps::trimInWord(m_cuts.trimIn, m_words, m_sourceDurationMs) : std::nullopt;
    const std::optional<int> lastKept = std::isfinite(m_cuts.trimOut)
        ? EditOps::trimOutWord(m_cuts.trimOut, m_words, m_sourceDurationMs)
        : std::nullopt;

    m_words = newWords;
    Cuts cuts;
    cuts.add(silent);
    cuts.add(wordSpans(cutWords));
    const double in = firstKept ? EditOps::trimInBefore(*firstKept, m_words, m_sourceDurationMs) : m_cuts.trimIn;
    const double out = lastKept ? EditOps::trimOutAfter(*lastKept, m_words, m_sourceDurationMs) : m_cuts.trimOut;
    cuts.setTrim(in, out, m_sourceDurationMs);

    const bool changed = cuts != m_cuts;
    m_cuts = std::move(cuts);
    m_undo.clear();
    ++m_cutRevision;
    if (changed)
        rebuild(reason, MonotonicClock::nowMs());
    recount();
    Q_EMIT cutsChanged();
    return int(cutWords.size());
}

} // namespace kelmo
