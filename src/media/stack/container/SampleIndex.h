#pragma once

#include "media/stack/core/MediaTime.h"

#include <optional>
#include <vector>

namespace kelmo {

/// One coded sample of a track, in decoding order, times in ticks of the track's time base on the media's own clock.
struct Sample {
    int64_t pts = 0;
    int64_t dts = 0;
    int64_t position = -1; ///< Byte offset in the file; -1 where only the demuxer can fetch it.
    int32_t size = 0;
    bool key = false;
};

/// One entry of an edit list: media ticks [mediaStart, mediaStart + duration) are presented from `presentStart` on.
struct EditSegment {
    int64_t mediaStart = 0;
    int64_t presentStart = 0;
    int64_t duration = 0;
};

/// Everything about where a track's samples are and when they show, read once from the container's tables. Immutable
/// after construction and shared by all decoders of the track, on any thread.
///
/// Times are of two clocks: media ticks (`Sample::pts`) and presentation ticks, which is what the track shows after its
/// edit list, from 0 at the start of the file.
class SampleIndex {
public:
    /// A sample as presented: shown from `present` until the next entry's.
    struct PresentedFrame {
        int64_t present = 0;
        int32_t sample = 0;
        int32_t key = 0; ///< The sample to start decoding at: the last key sample that precedes it in both orders.
    };

    SampleIndex() = default;
    /// `edits` empty means that the media is presented as it is. `lastDuration` is how long the last sample lasts, in
    /// ticks; not positive when the container does not say. What is shown last is held until presentation tick
    /// `heldUntil` at least.
    SampleIndex(std::vector<Sample> samples, std::vector<EditSegment> edits, Ratio timeBase, int64_t lastDuration,
        int64_t heldUntil = 0);

    [[nodiscard]] const std::vector<Sample>& samples() const { return m_samples; }
    [[nodiscard]] const std::vector<PresentedFrame>& frames() const { return m_frames; } ///< Ascending by `present`.
    [[nodiscard]] const std::vector<EditSegment>& edits() const { return m_edits; } ///< Never empty with samples.
    [[nodiscard]] Ratio timeBase() const { return m_timeBase; }
    [[nodiscard]] bool isEmpty() const { return m_frames.empty(); }

    [[nodiscard]] int64_t presentStart() const; ///< Ticks, included.
    [[nodiscard]] int64_t presentEnd() const { return m_presentEnd; } ///< Ticks, not included.
    [[nodiscard]] TimeRange range() const;

    /// The entry shown at a moment: the last one that does not start after it. None before the first.
    [[nodiscard]] std::optional<int> frameAt(ExactTime time) const;
    /// The first entry that starts after a moment; frames().size() when there is none.
    [[nodiscard]] int frameAfter(ExactTime time) const;

    [[nodiscard]] const Sample& sampleOf(int display) const
    {
        return m_samples[size_t(m_frames[size_t(display)].sample)];
    }

    /// How many samples a decoder must hold back to put them into display order.
    [[nodiscard]] int reorderDepth() const { return m_reorderDepth; }

private:
    void present(int64_t lastDuration);
    void findReorderDepth();

    std::vector<Sample> m_samples;
    std::vector<EditSegment> m_edits;
    std::vector<PresentedFrame> m_frames;
    Ratio m_timeBase{1, 1};
    int64_t m_presentEnd = 0;
    int m_reorderDepth = 0;
};

} // namespace kelmo
