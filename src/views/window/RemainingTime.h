#pragma once

#include <QString>

#include <optional>

namespace kelmo {

/// Guesses from how far something has come how long it will still take. A plain value.
class RemainingTime {
public:
    /// `progress` from 0 to 1 at `nowMs` on any steady clock. A smaller progress than before starts again.
    void note(double progress, double nowMs);

    /// Such as "12 s left" or "2:05 left"; empty until a guess is worth making.
    [[nodiscard]] QString text() const;

private:
    std::optional<double> m_startedMs;
    double m_startedAt = 0; ///< The progress then.
    double m_nowMs = 0;
    double m_progress = 0;
};

} // namespace kelmo
