#pragma once

namespace kelmo {

/// Which pictures of an edit are made while it plays.
struct FrameDropLevel {
    int stride = 1; ///< Shows every n-th step of the grid.
    bool referencesOnly = false; ///< Where a picture is one that no other refers to, the one before it stays.
    bool keysOnly = false;

    bool operator==(const FrameDropLevel&) const = default;
};

/// Decides how much is left out when decoding cannot keep up with the clock: first the pictures that no other refers
/// to, then every second and three of four of those that would be shown, then all but key pictures. Comes back step by
/// step once there is time. Times are on the monotonic clock, in ms. A plain value.
class FrameDropPolicy {
public:
    /// Playing begins or jumps: what was late before says nothing any more, what was left out remains so.
    void begin(double nowMs);
    /// A picture was ready `lateMs` after its time was over; negative before that.
    void note(double lateMs, double nowMs);

    /// At this rate more than this cannot be seen.
    [[nodiscard]] FrameDropLevel dropLevel(double rate) const;

private:
    int m_level = 0;
    double m_steadySinceMs = 0;
    double m_thinnedAtMs = 0;
};

} // namespace kelmo
