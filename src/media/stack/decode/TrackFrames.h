#pragma once

#include "media/stack/decode/DecoderSelector.h"

#include <array>
#include <condition_variable>

namespace kelmo {

/// The pictures of one track for a player: two decoders that stay open, one that plays and one that gets ready for the
/// next join or jump meanwhile, on a thread of its own; and the pictures that both have made last. Used by one thread.
class TrackFrames {
public:
    using Stop = VideoDecoder::Stop;

    enum class Use {
        Known, ///< Only when it is there already: no decoder is touched.
        Look, ///< A single picture, from wherever it is quickest to have.
        Run, ///< Those that follow will be wanted too, so the decoder must be in step.
    };

    /// `threads` is for each decoder, `cacheBytes` for the pictures that are kept.
    TrackFrames(std::shared_ptr<const Asset> asset, const Track& track, int threads, size_t cacheBytes);
    ~TrackFrames();
    TrackFrames(const TrackFrames&) = delete;
    TrackFrames& operator=(const TrackFrames&) = delete;

    [[nodiscard]] const Track& track() const { return m_track; }

    /// The picture of an entry of the display list, by whichever decoder has the shorter way to it. As
    /// VideoDecoder::frame.
    [[nodiscard]] Result<VideoFrame> frame(int display, Use use, const Stop& stop = {});

    /// Whether the picture is there without decoding.
    [[nodiscard]] bool isKnown(int display) const;
    /// The known picture nearest to `display` among [first, last].
    [[nodiscard]] std::optional<int> knownNear(int display, int first, int last) const;
    /// How many samples must be decoded for a picture, as far as the decoder that plays can tell.
    [[nodiscard]] int costOf(int display) const;

    /// `display` will be asked for soon, after others: begins to decode it now beside them.
    void prepare(int display);

    /// As VideoDecoder::setWanted.
    void setWanted(const std::shared_ptr<const std::vector<bool>>& samples, bool referencesOnly);

private:
    using Lock = std::unique_lock<std::mutex>;

    [[nodiscard]] Result<VideoDecoder*> opened(size_t which);
    [[nodiscard]] bool chooseFor(int display, const Stop& stop);
    void abandonPreparation(Lock& lock);
    void renew(size_t which);
    void runAhead();
    [[nodiscard]] int64_t ptsOf(int display) const { return m_track.index.sampleOf(display).pts; }

    const Track& m_track;
    DecoderSelector m_choice;
    const std::shared_ptr<FrameCache> m_cache;
    std::array<std::unique_ptr<VideoDecoder>, 2> m_decoders;
    size_t m_playing = 0; ///< The other one may be busy getting ready.
    std::shared_ptr<const std::vector<bool>> m_wanted;
    bool m_referencesOnly = false;

    std::mutex m_mutex; ///< Guards what follows.
    std::condition_variable m_changed;
    std::optional<int> m_prepared; ///< What the other decoder is getting ready for, or is ready at.
    bool m_busy = false;
    std::atomic<bool> m_abandoned = false; ///< What it is busy with is not wanted any more.
    bool m_ending = false;
    std::thread m_thread; ///< Started by the first preparation.
};

} // namespace kelmo
