#pragma once

#include "media/stack/picture/VideoFrame.h"

#include <cstddef>
#include <map>
#include <mutex>

namespace kelmo {

/// The pictures of one track that were decoded or asked for last, as many as fit into a number of bytes. Going back to
/// one of them costs nothing. Thread-safe: all decoders of the track share it.
class FrameCache {
public:
    explicit FrameCache(size_t maxBytes)
        : m_mostBytes(maxBytes)
    {
    }

    /// `pts` in ticks of the track, as the sample index has it.
    void keep(int64_t pts, const VideoFrame& frame);
    [[nodiscard]] VideoFrame find(int64_t pts); ///< Null when it is not there.
    [[nodiscard]] bool has(int64_t pts) const;

private:
    struct Kept {
        VideoFrame frame;
        int64_t usedAt = 0;
    };

    const size_t m_mostBytes;
    mutable std::mutex m_mutex;
    std::map<int64_t, Kept> m_kept; ///< By pts.
    size_t m_bytes = 0;
    int64_t m_uses = 0;
};

} // namespace kelmo
