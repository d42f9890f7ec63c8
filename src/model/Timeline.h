#pragma once

#include "model/Span.h"

#include <vector>

namespace kelmo {

/// Converts between the source clock, which words and cuts are on, and the edited clock, on which the kept ranges play
/// back to back from 0. An immutable value by convention; free to pass between threads.
class Timeline {
public:
    Timeline() = default;

    /// Requires: `keep` is sorted and disjoint, as `Cuts::keep` returns it.
    explicit Timeline(std::vector<Span> keep);

    bool operator==(const Timeline&) const = default;

    /// The edited time that shows a source time. A time inside a cut gives the start of the next kept range, a time
    /// after the last range the end of the edit.
    [[nodiscard]] double edited(double sourceMs) const;

    /// The source time shown at an edited time, from 0 on; where two ranges meet it is the start of the later one.
    [[nodiscard]] double source(double editedMs) const;

    std::vector<Span> keep; ///< the kept source ranges
    std::vector<double> starts; ///< where each of them begins on the edited clock, in ms
    double durationMs = 0; ///< length of the edit
};

} // namespace kelmo
