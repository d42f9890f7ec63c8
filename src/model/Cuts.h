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

    /// Takes ranges back out of the cuts and leaves the trim alone; empty ones are ignored. Drops what is left of a cut
    /// beside a range if it is shorter than 10 ms: listed times are whole ms, those of cuts need not be.
    void subtract(std::vector<Span> ranges);

    /// Sets the trim. A side within 1 ms of its end of the take trims nothing.
    void setTrim(double in, double out, double durationMs);

    /// Recomputes `effective`; to be called after assigning the spans or the trim.
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
