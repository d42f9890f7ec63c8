#include "media/stack/decode/FrameCache.h"

#include <algorithm>

namespace kelmo {

void FrameCache::keep(int64_t pts, const VideoFrame& frame)
{
    const std::lock_guard lock(m_mutex);
    Kept& kept = m_kept[pts];
    if (kept.frame)
        m_bytes -= kept.frame.bytes();
    kept = {frame, ++m_uses};
    m_bytes += frame.bytes();
    while (m_bytes > m_mostBytes && m_kept.size() > 1) {
        const auto oldest = std::min_element(m_kept.begin(), m_kept.end(),
            [](const auto& a, const auto& b) { return a.second.usedAt < b.second.usedAt; });
        m_bytes -= oldest->second.frame.bytes();
        m_kept.erase(oldest);
    }
}

VideoFrame FrameCache::find(int64_t pts)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_kept.find(pts);
    if (found == m_kept.end())
        return {};
    found->second.usedAt = ++m_uses;
    return found->second.frame;
}

bool FrameCache::has(int64_t pts) const
{
    const std::lock_guard lock(m_mutex);
    return m_kept.contains(pts);
}

} // namespace kelmo
