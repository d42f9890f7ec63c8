#include "media/stack/player/FrameDropPolicy.h"

#include <algorithm>
#include <array>

namespace kelmo {

namespace {

constexpr double tooLateMs = 60;
constexpr double thinEveryMs = 400;
constexpr double thickenAfterMs = 3000;

struct Level {
    int stride;
    bool referencesOnly;
    bool keysOnly;
};
constexpr std::array levels{
    Level{1, false, false},
    Level{1, true, false},
    Level{2, true, false},
    Level{4, true, false},
    Level{4, true, true},
};

} // namespace

void FrameDropPolicy::begin(double nowMs)
{
    m_steadySinceMs = nowMs;
    m_thinnedAtMs = nowMs;
}

void FrameDropPolicy::note(double lateMs, double nowMs)
{
    const bool mayThin = m_level + 1 < int(levels.size()) && nowMs - m_thinnedAtMs > thinEveryMs;
    if (lateMs > tooLateMs && mayThin) {
        ++m_level;
        m_thinnedAtMs = nowMs;
    }
    if (lateMs > 0)
        m_steadySinceMs = nowMs;
    if (m_level > 0 && nowMs - m_steadySinceMs > thickenAfterMs) {
        --m_level;
        m_steadySinceMs = nowMs;
    }
}

FrameDropLevel FrameDropPolicy::dropLevel(double rate) const
{
    const Level& level = levels[size_t(m_level)];
    return {level.stride * std::max(1, int(rate)), level.referencesOnly, level.keysOnly};
}

} // namespace kelmo
