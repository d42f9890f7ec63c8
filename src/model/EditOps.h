#pragma once

#include "model/Span.h"
#include "model/Word.h"

#include <QString>
#include <QStringView>

#include <optional>
#include <vector>

namespace kelmo {

/// From words to the ranges that cut them, and back. Pure functions for any thread. Word lists are sorted by start,
/// cut spans are normalised (`Cuts::effective`), all times are source ms.
namespace EditOps {

/// The word indices lo to hi, both included.
struct IndexRange {
    int lo = 0;
    int hi = 0;

    bool operator==(const IndexRange&) const = default;
};

/// How far a cut may reach into the neighbouring kept word, in ms (KELMO_NEIGHBOUR_SLACK_MS, else 0).
[[nodiscard]] double neighbourSlackMs();
/// How far a cut reaches at least into the silence around its words, in ms (KELMO_MIN_REACH_MS, else 50).
[[nodiscard]] double minReachMs();

/// The range that cuts the words lo to hi, padded into the silence around them so that the join sounds clean. At
/// least 10 ms long, in whole ms. Requires: 0 <= lo <= hi < words.size(). Without a duration the take ends with
/// the last cut word.
[[nodiscard]] Span span(const std::vector<Word>& words, int lo, int hi, std::optional<double> durationMs);

/// More than half of the word is cut; for a word of zero length, its start is.
[[nodiscard]] bool isCut(const Word& word, const std::vector<Span>& spans);

/// Groups indices into ascending runs of neighbours. A repeated index starts a run of its own.
[[nodiscard]] std::vector<IndexRange> runs(std::vector<int> indices);

/// Lower case, with nothing left but lower-case letters and the straight apostrophe.
[[nodiscard]] QString norm(QStringView text);

/// One of the eleven sounds that say nothing, like "um", in any spelling that normalises to it.
[[nodiscard]] bool isFiller(QStringView text);

/// The filler words that are not cut yet, ascending.
[[nodiscard]] std::vector<int> fillerIndices(const std::vector<Word>& words, const std::vector<Span>& spans);

/// The spans to add so that every pause between kept words longer than `over` shrinks to `to`, in ms, with what
/// is already cut counted as gone. A long lead-in and a long tail shrink likewise.
[[nodiscard]] std::vector<Span> tightenSpans(
    const std::vector<Word>& words, const std::vector<Span>& spans, double durationMs, double over, double to);

/// The first word kept by a head trim at `trimIn`; nothing when the trim is not on a word's boundary.
[[nodiscard]] std::optional<int> trimInWord(double trimIn, const std::vector<Word>& words, double durationMs);
/// The last word kept by a tail trim at `trimOut`; nothing when the trim is not on a word's boundary.
[[nodiscard]] std::optional<int> trimOutWord(double trimOut, const std::vector<Word>& words, double durationMs);

/// The head trim that makes `index` the first word kept. Any index is allowed.
[[nodiscard]] double trimInBefore(int index, const std::vector<Word>& words, double durationMs);
/// The tail trim that makes `index` the last word kept. Any index is allowed.
[[nodiscard]] double trimOutAfter(int index, const std::vector<Word>& words, double durationMs);

} // namespace EditOps

} // namespace kelmo
