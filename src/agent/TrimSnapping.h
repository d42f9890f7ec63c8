#pragma once

#include "model/Word.h"

#include <vector>

namespace kelmo {

/// Moves a trim that an agent asks for to where a trim at a word would be, so that no word is clipped by a rough guess.
/// A time inside a word always moves, any other only when a boundary is within 250 ms. Source ms. Pure functions for
/// any thread.
namespace TrimSnapping {

[[nodiscard]] double snapIn(double ms, const std::vector<Word>& words, double durationMs);
[[nodiscard]] double snapOut(double ms, const std::vector<Word>& words, double durationMs);

} // namespace TrimSnapping

} // namespace kelmo
