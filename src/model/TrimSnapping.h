#pragma once

#include "model/Word.h"

#include <vector>

namespace kelmo {

/// Moves a roughly chosen trim to where a trim at a word would be, so that no word is clipped. A time inside a word
/// always moves, any other only when a boundary is within reach. Source ms. Pure functions for any thread.
namespace TrimSnapping {

/// How far a trim reaches that is given as a time rather than pointed at.
constexpr double reachMs = 250;

/// Where an edit may start: at 0 and before each word. Never empty.
[[nodiscard]] std::vector<double> inCandidates(const std::vector<Word>& words, double durationMs);
/// Where an edit may end: at the take's end and after each word. Never empty.
[[nodiscard]] std::vector<double> outCandidates(const std::vector<Word>& words, double durationMs);

/// The nearest candidate, the earlier in the list of two equally near, or `ms` itself. Requires a candidate.
[[nodiscard]] double snapped(
    double ms, const std::vector<double>& candidates, const std::vector<Word>& words, double reach);

/// With `reachMs`; without words a time stays as it is.
[[nodiscard]] double snapIn(double ms, const std::vector<Word>& words, double durationMs);
[[nodiscard]] double snapOut(double ms, const std::vector<Word>& words, double durationMs);

} // namespace TrimSnapping

} // namespace kelmo
