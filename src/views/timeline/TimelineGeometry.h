#pragma once

#include "model/Timeline.h"

namespace kelmo {

/// Where times lie on the timeline bar: the edit without its trim, laid evenly across the track. Lengths are logical
/// pixels, x counts from the track's left end, times are source ms. Cheap to make; refers to the timeline it is made
/// from.
class TimelineGeometry {
public:
    static constexpr double barHeight = 46;
    static constexpr double handleWidth = 16;

    /// `full` is the edit with the trim ignored; `viewWidth` the bar's width, with room for a handle at either end.
    TimelineGeometry(const Timeline& full, double viewWidth);

    [[nodiscard]] double trackWidth() const { return m_trackWidth; } ///< At least 1.
    [[nodiscard]] double msPerPoint() const { return m_full.durationMs / m_trackWidth; }
    [[nodiscard]] double x(double sourceMs) const;
    [[nodiscard]] double toSource(double x) const; ///< Beyond the track: its ends.

    /// The moments that the tiles of a filmstrip across the track show, at their centres; at least one.
    [[nodiscard]] std::vector<double> tileTimes() const;

private:
    const Timeline& m_full;
    double m_trackWidth;
};

} // namespace kelmo
