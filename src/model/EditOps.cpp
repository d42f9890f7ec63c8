#include "model/EditOps.h"

#include "model/TuningValue.h"

#include <QSet>

#include <algorithm>
#include <cmath>

namespace kelmo {

namespace {

// All of these are ms, or a share of the silence beside the cut.
constexpr double headPaddingShare = 0.45;
constexpr double headPaddingAtMost = 45;
constexpr double tailPaddingShare = 0.8;
constexpr double tailPaddingAtMost = 100;
constexpr double previousWordProtected = 60;
constexpr double nextWordProtected = 20;
constexpr double shortestCut = 10;
constexpr double trimPadding = 150;
constexpr double trimTolerance = 1;

// Of the pause that stays, this share follows the earlier word and the rest leads into the later one.
constexpr double pauseShareAfter = 0.6;
constexpr double pauseShareBefore = 0.4;

double cutStart(const std::vector<Word>& words, size_t lo)
{
    if (lo == 0)
        return 0;
    const Word& previous = words[lo - 1];
    const double wordStart = words[lo].startMs;
    const double gap = wordStart - previous.endMs;
    return gap > 0 ? previous.endMs + std::min(headPaddingShare * gap, headPaddingAtMost) : wordStart;
}

// With a floor of 60 ms the previous word stays audible even when the two overlap.
double reachedStart(double start, const std::vector<Word>& words, size_t lo)
{
    if (lo == 0)
        return start;
    const Word& previous = words[lo - 1];
    const double reach
        = std::max(words[lo].startMs - EditOps::minReachMs(), previous.endMs - EditOps::neighbourSlackMs());
    return std::max(std::min(start, reach), previous.startMs + previousWordProtected);
}

double cutEnd(const Word& last, const Word& next)
{
    const double gap = next.startMs - last.endMs;
    const double padded = gap > 0 ? next.startMs - std::min(tailPaddingShare * gap, tailPaddingAtMost) : next.startMs;
    const double reach = std::min(next.startMs + EditOps::neighbourSlackMs(), last.endMs + EditOps::minReachMs());
    return std::max(padded, reach);
}

std::vector<Span>::const_iterator firstEndingAfter(const std::vector<Span>& spans, double ms)
{
    return std::partition_point(spans.begin(), spans.end(), [ms](const Span& span) { return span.end <= ms; });
}

double overlap(const std::vector<Span>& spans, double start, double end)
{
    double sum = 0;
    for (auto span = firstEndingAfter(spans, start); span != spans.end() && span->start < end; ++span)
        sum += std::max(0.0, std::min(span->end, end) - std::max(span->start, start));
    return sum;
}

double silence(const std::vector<Span>& spans, double from, double to)
{
    return std::max(0.0, to - from) - overlap(spans, from, to);
}

std::vector<const Word*> keptWords(const std::vector<Word>& words, const std::vector<Span>& spans)
{
    std::vector<const Word*> kept;
    kept.reserve(words.size());
    for (const Word& word : words) {
        if (!EditOps::isCut(word, spans))
            kept.push_back(&word);
    }
    return kept;
}

int lastIndex(const std::vector<Word>& words) { return static_cast<int>(words.size()) - 1; }

} // namespace

double EditOps::neighbourSlackMs()
{
    static const double value = TuningValue::read("KELMO_NEIGHBOUR_SLACK_MS", 0);
    return value;
}

double EditOps::minReachMs()
{
    static const double value = TuningValue::read("KELMO_MIN_REACH_MS", 50);
    return value;
}

Span EditOps::span(const std::vector<Word>& words, int lo, int hi, std::optional<double> durationMs)
{
    const auto first = static_cast<size_t>(lo);
    const auto last = static_cast<size_t>(hi);
    const double padded = cutStart(words, first);
    double end = durationMs.value_or(words[last].endMs);
    double latest = end;
    if (last + 1 < words.size()) {
        const Word& next = words[last + 1];
        end = cutEnd(words[last], next);
        latest = std::max(padded + shortestCut, next.endMs - nextWordProtected);
    }
    const double reached = reachedStart(padded, words, first);
    const double start = std::min(reached, latest - shortestCut);
    end = std::max(start, std::min(latest, std::max(end, start + shortestCut)));
    return {std::round(start), std::round(end)};
}

bool EditOps::isCut(const Word& word, const std::vector<Span>& spans)
{
    if (word.endMs <= word.startMs) {
        const auto span = firstEndingAfter(spans, word.startMs);
        return span != spans.end() && span->start <= word.startMs;
    }
    return overlap(spans, word.startMs, word.endMs) > (word.endMs - word.startMs) / 2;
}

std::vector<EditOps::IndexRange> EditOps::runs(std::vector<int> indices)
{
    std::sort(indices.begin(), indices.end());
    std::vector<IndexRange> ranges;
    for (const int index : indices) {
        if (!ranges.empty() && index - 1 == ranges.back().hi)
            ranges.back().hi = index;
        else
            ranges.push_back({index, index});
    }
    return ranges;
}

QString EditOps::norm(QStringView text)
{
    QString kept;
    for (const char32_t character : text.toString().toLower().toUcs4()) {
        if (character == U'\'' || QChar::category(character) == QChar::Letter_Lowercase)
            kept.append(QChar::fromUcs4(character));
    }
    return kept;
}

bool EditOps::isFiller(QStringView text)
{
    static const QSet<QString> fillers{QStringLiteral("um"), QStringLiteral("umm"), QStringLiteral("uh"),
        QStringLiteral("uhh"), QStringLiteral("uhm"), QStringLiteral("er"), QStringLiteral("erm"), QStringLiteral("ah"),
        QStringLiteral("hmm"), QStringLiteral("mmm"), QStringLiteral("mm")};
    // Most words are longer than any of them, and are told by that without being normalised.
    constexpr auto longest = 3;
    const auto isPlainLetter = [](QChar c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); };
    return std::count_if(text.begin(), text.end(), isPlainLetter) <= longest && fillers.contains(norm(text));
}

std::vector<int> EditOps::fillerIndices(const std::vector<Word>& words, const std::vector<Span>& spans)
{
    std::vector<int> indices;
    for (size_t i = 0; i < words.size(); ++i) {
        if (isFiller(words[i].text) && !isCut(words[i], spans))
            indices.push_back(static_cast<int>(i));
    }
    return indices;
}

std::vector<Span> EditOps::tightenSpans(
    const std::vector<Word>& words, const std::vector<Span>& spans, double durationMs, double over, double to)
{
    const std::vector<const Word*> kept = keptWords(words, spans);
    std::vector<Span> tightened;
    if (kept.empty())
        return tightened;
    const double leadIn = kept.front()->startMs;
    if (silence(spans, 0, leadIn) > over && leadIn - to > 0)
        tightened.push_back({0, leadIn - to});
    for (size_t i = 1; i < kept.size(); ++i) {
        const double from = kept[i - 1]->endMs;
        const double until = kept[i]->startMs;
        const Span pause{from + pauseShareAfter * to, until - pauseShareBefore * to};
        if (silence(spans, from, until) > over && pause.end > pause.start)
            tightened.push_back(pause);
    }
    const double tail = kept.back()->endMs;
    if (silence(spans, tail, durationMs) > over && tail + to < durationMs)
        tightened.push_back({tail + to, durationMs});
    return tightened;
}

double EditOps::trimInBefore(int index, const std::vector<Word>& words, double durationMs)
{
    if (words.empty())
        return 0;
    if (index <= 0)
        return std::max(0.0, words.front().startMs - trimPadding);
    return index > lastIndex(words) ? durationMs : span(words, 0, index - 1, durationMs).end;
}

double EditOps::trimOutAfter(int index, const std::vector<Word>& words, double durationMs)
{
    if (words.empty())
        return durationMs;
    if (index >= lastIndex(words))
        return std::min(words.back().endMs + trimPadding, durationMs);
    return index < 0 ? 0 : span(words, index + 1, lastIndex(words), durationMs).start;
}

std::optional<int> EditOps::trimInWord(double trimIn, const std::vector<Word>& words, double durationMs)
{
    for (int i = 0; i <= lastIndex(words); ++i) {
        if (std::abs(trimInBefore(i, words, durationMs) - trimIn) < trimTolerance)
            return i;
    }
    return std::nullopt;
}

std::optional<int> EditOps::trimOutWord(double trimOut, const std::vector<Word>& words, double durationMs)
{
    for (int i = lastIndex(words); i >= 0; --i) {
        if (std::abs(trimOutAfter(i, words, durationMs) - trimOut) < trimTolerance)
            return i;
    }
    return std::nullopt;
}

} // namespace kelmo
