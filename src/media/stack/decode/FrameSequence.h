#pragma once

#include "media/stack/decode/VideoDecoder.h"

namespace kelmo {

/// Decodes a list of display entries that is known in advance, in its order, and nothing that the list does not need:
/// what an export reads. Owned by one thread at a time.
class FrameSequence {
public:
    /// `frames` may repeat entries and jump both ways.
    FrameSequence(std::unique_ptr<VideoDecoder> decoder, std::vector<int> frames);

    /// The picture of the next entry. Requires that the list is not used up.
    [[nodiscard]] Result<VideoFrame> next();

private:
    void startRun();

    std::unique_ptr<VideoDecoder> m_decoder;
    std::vector<int> m_frames;
    size_t m_next = 0;
    size_t m_runEnd = 0; ///< Not included.
};

} // namespace kelmo
