#pragma once

#include "model/Span.h"

#include <QString>

#include <limits>
#include <vector>

namespace kelmo {

/// The whole edit of a take: what is cut out, and the trim of head and tail, all in source ms. A plain value, owned by
/// the editor. The trim is kept apart from the cuts, so that clearing it brings back what was cut inside it.
struct Cuts {
    /// The tail trim that trims nothing.
    static constexpr double noTrimOut = std::numeric_limits<double>::infinity();

    std::vector<Span> spans; ///< sorted; no two overlap, touch or are empty
    double trimIn = 0; ///< everything before it is left out; 0 for no trim
    double trimOut = noTrimOut; ///< everything from it on is left out; infinite for no trim
    std::vector<Span> effective; ///< the cuts and the trim together, normalised: all that is left out

    bool operator==(const Cuts&) const = default;

    /// Adds ranges; empty ones are ignored.
    void add(const std::vector<Span>& ranges);

    /// Takes one range back out of the cuts and leaves the trim alone. An empty range changes nothing.
    void subtract(Span range);

    /// Recomputes `effective`; to be called after assigning the trim.
    void refresh();

    [[nodiscard]] bool isTrimmed() const;

    /// What is kept of a take of the given length: sorted and disjoint, without pieces under 20 ms.
    [[nodiscard]] std::vector<Span> keep(double durationMs) const;

    /// A short text that changes whenever cuts or trim change by a whole millisecond; empty without an edit.
    [[nodiscard]] QString signature() const;

    /// Sorted by start, with spans that overlap or touch merged into one.
    [[nodiscard]] static std::vector<Span> normalize(std::vector<Span> spans);
};

} // namespace kelmo
