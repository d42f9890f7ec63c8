#pragma once

#include <QString>

namespace kelmo {

/// A time as minutes and seconds, such as 1:01 for 61,999 ms; minutes go on past 59. Negative times read 0:00.
[[nodiscard]] QString clock(double ms);

/// What the header says about the edit's length.
struct Summary {
    QString length; ///< What plays, or the whole take when next to nothing is removed.
    QString removed; ///< A minus and how much is gone; empty when next to nothing is.

    [[nodiscard]] static Summary of(double sourceMs, double editedMs);
    [[nodiscard]] QString text() const; ///< Both in one line.
};

} // namespace kelmo
