#pragma once

#include "media/stack/container/Asset.h"
#include "platform/Error.h"

#include <vector>

struct AVCodecContext;
struct AVFrame;
struct SwrContext;

namespace kelmo {

class PacketReader;

/// The sound of one audio track on the file's clock as 48 kHz stereo, exact to the sample wherever reading starts:
/// priming and edit lists are applied, and a jump gives the same samples as reading through. Owned by one user at a
/// time; not thread-safe.
class AudioTrackReader {
public:
    static constexpr int rate = 48000; ///< Hz, of everything that leaves this class.
    static constexpr int channels = 2;

    [[nodiscard]] static Result<std::unique_ptr<AudioTrackReader>> open(
        const std::shared_ptr<const Asset>& asset, const Track& track);
    ~AudioTrackReader();

    /// Fills `count` stereo samples (interleaved, full scale 1.0) from sample `position` of the file's clock; silence
    /// where the track has no sound. Damaged packets are silence, too. Fails when the file cannot be read.
    [[nodiscard]] Result<void> read(int64_t position, int count, float* interleaved);

private:
    AudioTrackReader(std::shared_ptr<const Asset> asset, const Track& track);

    // From the track's samples to media positions.
    [[nodiscard]] int64_t inputPosition(int64_t ticks) const;
    [[nodiscard]] int64_t packetPosition(int number) const;
    void seekInput(int64_t from);
    [[nodiscard]] Result<void> decodeNext();
    void append(const AVFrame& frame);
    [[nodiscard]] int64_t decodedEnd() const;
    [[nodiscard]] Result<void> pullInput(int64_t from, int count);

    // From media positions to 48 kHz positions inside one edit segment.
    [[nodiscard]] Result<void> readSegment(size_t segment, int64_t from, int count, float* interleaved);
    [[nodiscard]] Result<void> startRun(size_t segment, int64_t from);
    [[nodiscard]] Result<void> resampleMore();
    [[nodiscard]] int64_t outEnd() const { return m_outStart + int64_t(m_out.size()) / m_channels; }

    std::shared_ptr<const Asset> m_asset;
    const Track& m_track;
    std::unique_ptr<PacketReader> m_reader;
    std::unique_ptr<AVCodecContext, void (*)(AVCodecContext*)> m_codec;
    struct FrameForm {
        int format = -1;
        int rate = 0;
        int channels = 0;
        bool operator==(const FrameForm&) const = default;
    };
    FrameForm m_form; ///< Of the frames that m_folder takes.
    std::unique_ptr<SwrContext, void (*)(SwrContext*)> m_folder; ///< To packed floats of one or two channels.
    std::unique_ptr<SwrContext, void (*)(SwrContext*)> m_resampler; ///< None when the track is at 48 kHz already.
    int m_inputRate;
    int m_channels; ///< 1 or 2, of everything below.

    std::vector<float> m_decoded; ///< Sound from media sample m_decodedStart on.
    int64_t m_decodedStart = 0;
    int64_t m_answersFrom = 0; ///< The first media sample that m_decoded can answer for; none before a seek.
    int64_t m_dropBefore = 0; ///< Decoded sound before this media sample is not settled yet after a seek.
    int m_nextPacket = -1;
    bool m_ended = false;

    size_t m_segment = 0; ///< The edit segment that m_out belongs to.
    bool m_running = false;
    std::vector<float> m_out; ///< Sound at 48 kHz from sample m_outStart of the segment on.
    int64_t m_outStart = 0;
    int64_t m_nextInput = 0; ///< The media sample to resample next.
    int64_t m_discard = 0; ///< Samples still to be thrown away after a start.
    std::vector<float> m_input;
};

} // namespace kelmo
