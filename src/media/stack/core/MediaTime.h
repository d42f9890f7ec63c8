#pragma once

#include <compare>
#include <cstdint>

// Times of the media stack. They are integers: positions on a composition are whole microseconds, and a moment between
// them, such as frame k of a 60 fps grid, is an exact fraction. Nothing here rounds unless its name says so.

namespace kelmo {

/// A position or a length in microseconds.
struct MediaTime {
    int64_t us = 0;

    /// The microsecond that holds `ms`; fractions of a microsecond are dropped towards zero.
    [[nodiscard]] static MediaTime fromMs(double ms);
    [[nodiscard]] double ms() const { return double(us) / 1000.0; }

    auto operator<=>(const MediaTime&) const = default;
    MediaTime operator+(MediaTime other) const { return {us + other.us}; }
    MediaTime operator-(MediaTime other) const { return {us - other.us}; }
    MediaTime& operator+=(MediaTime other)
    {
        us += other.us;
        return *this;
    }
};

/// A half-open stretch [start, start + duration).
struct TimeRange {
    MediaTime start; ///< Included.
    MediaTime duration; ///< Empty when not greater than zero.

    [[nodiscard]] MediaTime end() const { return start + duration; } ///< Not included.
    [[nodiscard]] bool isEmpty() const { return duration.us <= 0; }
    [[nodiscard]] bool contains(MediaTime time) const { return start <= time && time < end(); }
    [[nodiscard]] TimeRange intersected(TimeRange other) const;

    bool operator==(const TimeRange&) const = default;
};

/// A ratio such as a stream's time base (seconds per tick). `den` > 0.
struct Ratio {
    int64_t num = 0;
    int64_t den = 1;

    bool operator==(const Ratio&) const = default;
};

/// An exact moment of num / den seconds. `den` > 0.
struct ExactTime {
    int64_t num = 0;
    int64_t den = 1;

    /// Moment k of a grid of `fps` steps a second.
    [[nodiscard]] static ExactTime gridStep(int64_t k, int fps) { return {k, fps}; }
    [[nodiscard]] static ExactTime of(MediaTime time) { return {time.us, 1'000'000}; }

    /// This moment moved by a whole number of microseconds, still exact.
    [[nodiscard]] ExactTime movedBy(MediaTime offset) const;
    [[nodiscard]] bool isBefore(MediaTime time) const;

    /// The last tick of `timeBase` that is not after this moment.
    [[nodiscard]] int64_t ticksFloor(Ratio timeBase) const;
    [[nodiscard]] int64_t ticksNearest(Ratio timeBase) const;
    [[nodiscard]] double ms() const { return double(num) * 1000.0 / double(den); }
};

/// `ticks` of `timeBase` as microseconds, to the nearest.
[[nodiscard]] MediaTime fromTicks(int64_t ticks, Ratio timeBase);

/// value * num / den to the nearest integer, halves away from zero, without overflow on the way: what does not fit is
/// held at INT64_MAX / 8, so that a few of them still add up. Requires den > 0.
[[nodiscard]] int64_t scaled(int64_t value, int64_t num, int64_t den);

} // namespace kelmo
