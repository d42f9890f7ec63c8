#include "media/stack/decode/FrameSequence.h"

namespace kelmo {

FrameSequence::FrameSequence(std::unique_ptr<VideoDecoder> decoder, std::vector<int> frames)
    : m_decoder(std::move(decoder))
    , m_frames(std::move(frames))
{
}

Result<VideoFrame> FrameSequence::next()
{
    if (m_next == m_runEnd)
        startRun();
    return m_decoder->frame(m_frames[m_next++]);
}

/// A run is what one pass of the decoder delivers: it ends where the list turns back, or where starting again at a key
/// picture saves decoding what lies between.
void FrameSequence::startRun()
{
    const std::vector<SampleIndex::PresentedFrame>& entries = m_decoder->track().index.frames();
    int32_t reached = entries[size_t(m_frames[m_next])].sample;
    for (m_runEnd = m_next + 1; m_runEnd < m_frames.size(); ++m_runEnd) {
        const SampleIndex::PresentedFrame& entry = entries[size_t(m_frames[m_runEnd])];
        if (m_frames[m_runEnd] < m_frames[m_runEnd - 1] || entry.key > reached + 1)
            break;
        reached = std::max(reached, entry.sample);
    }
    m_decoder->expect(std::span(m_frames).subspan(m_next, m_runEnd - m_next));
}

} // namespace kelmo
