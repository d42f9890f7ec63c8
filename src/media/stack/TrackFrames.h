#pragma once

#include "media/stack/VideoDecoder.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace kelmo {

/// The pictures of one track for a player: two decoders that stay open, one that plays and one that gets ready for the
/// next join meanwhile, on a thread of its own. Used by one thread; cancel() may come from any.
class TrackFrames {
public:
    TrackFrames(std::shared_ptr<const Asset> asset, const Track& track, int threads);
    ~TrackFrames();
    TrackFrames(const TrackFrames&) = delete;
    TrackFrames& operator=(const TrackFrames&) = delete;

    [[nodiscard]] const Track& track() const { return m_track; }

    /// The picture of an entry of the display list, by whichever decoder has the shorter way to it.
    [[nodiscard]] Result<VideoFrame> frame(int display);

    /// `display` will follow `last`: begins to decode it now, unless going on from `last` is as quick.
    void prepare(int last, int display);

    /// As VideoDecoder::setWanted.
    void setWanted(const std::shared_ptr<const std::vector<bool>>& samples);
    void cancel();

private:
    [[nodiscard]] Result<VideoDecoder*> opened(size_t which);
    void chooseFor(int display);
    void runAhead();

    const std::shared_ptr<const Asset> m_asset;
    const Track& m_track;
    const int m_threads;
    std::array<std::unique_ptr<VideoDecoder>, 2> m_decoders;
    size_t m_playing = 0; ///< The other one may be busy getting ready.
    std::shared_ptr<const std::vector<bool>> m_wanted;

    std::mutex m_mutex; ///< Guards what follows, and the making of decoders.
    std::condition_variable m_changed;
    std::optional<int> m_prepared; ///< What the other decoder is getting ready for, or is ready at.
    bool m_busy = false;
    bool m_ending = false;
    std::thread m_thread; ///< Started by the first join.
};

} // namespace kelmo
