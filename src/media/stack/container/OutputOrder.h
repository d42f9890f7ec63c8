#pragma once

#include "media/stack/container/SampleIndex.h"
#include "media/stack/core/AvHandles.h"

namespace kelmo {

struct StreamSamples;
class MaskedFileIO;

/// Finds out in which order the frames of a stream come out of a decoder, from their own headers. For containers that
/// only say when a frame is decoded: there the times belong to the frames in the order in which they come out.
/// Internal to the opening of assets; any one thread.
class OutputOrder {
public:
    /// Whether frames of this codec may come out in another order than they are coded in.
    [[nodiscard]] static bool mayDiffer(const AVCodecParameters& parameters);

    explicit OutputOrder(const AVCodecParameters& parameters);
    ~OutputOrder();
    OutputOrder(const OutputOrder&) = delete;
    OutputOrder& operator=(const OutputOrder&) = delete;

    void add(const AVPacket& packet); ///< The next frame in decoding order.

    /// The numbers of the frames in the order in which they come out; empty if that is the decoding order, or cannot
    /// be told.
    [[nodiscard]] std::vector<int> frames() const;

    /// Gives the times of the samples, one for each frame added, to the frames in the order in which they come out.
    void settleTimes(std::vector<Sample>& samples) const;

private:
    struct Frame {
        int64_t count = 0; ///< Ascending in the order of output within one run of frames.
        bool startsRun = false; ///< Everything before it comes out first.
        bool isBetween = false; ///< Comes out before the frame decoded before it (a B-frame).
    };

    void addCounted(const AVPacket& packet);
    void addOfKind(const AVPacket& packet);
    [[nodiscard]] std::vector<int> byCount() const;
    [[nodiscard]] std::vector<int> byKind() const;
    [[nodiscard]] int parse(const AVPacket& packet);

    AvHandle<AVCodecContext> m_codec;
    AVCodecParserContext* m_parser = nullptr;
    std::vector<Frame> m_frames;
    int64_t m_highest = 0; ///< Count of the current run.
    bool m_holdsNext = false; ///< The packet before holds the frame of the next one, too.
};

/// Whether every sample is shown when it is decoded, as far as the container says.
[[nodiscard]] bool areShownWhenDecoded(const std::vector<Sample>& samples);

/// Settles the times of a track of a QuickTime or MP4 file that says nothing of the order of output. Looks at a few
/// stretches of the media, and at all of it only if frames there come out in another order.
void settleTimes(StreamSamples& listed, const AVCodecParameters& parameters, MaskedFileIO& io);

} // namespace kelmo
