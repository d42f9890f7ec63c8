#pragma once

#include "media/stack/MediaTime.h"

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

namespace kelmo {

/// Sound on its way from the mixer to the device, and the map from what was heard to where in the edit that is. Each
/// start of playback is an epoch with a number of its own; what belongs to an older one is dropped. Thread-safe.
class SoundRing {
public:
    /// A stretch of sound and the edited time that it covers.
    struct Block {
        std::vector<float> samples; ///< Interleaved stereo.
        double editedFrame = 0; ///< Where it starts on the edited clock, in frames at 48 kHz.
        double editedPerFrame = 1;
    };

    /// One device's account of what it was given.
    struct Feed {
        int64_t given = 0; ///< Frames, silence included.
        int64_t base = 0; ///< The ring's count when the device had been given nothing.
    };

    /// Drops all sound and starts again at `start`; what the device had begun to play fades out.
    void begin(int epoch, MediaTime start);
    /// Adds sound; waits while there is enough. False when the epoch is over.
    [[nodiscard]] bool push(int epoch, Block block);
    void finish(int epoch); ///< Nothing follows.
    void setRunning(bool running); ///< While not, devices get silence and the position stays.
    void close(); ///< Lets a waiting push() go.

    /// Makes `feed` the one that gets sound; the others get silence. Null for none.
    void activate(const std::shared_ptr<Feed>& feed);
    void pull(Feed& feed, float* interleaved, int frames);
    [[nodiscard]] int64_t givenTo(const Feed& feed) const;

    /// The edited time of the frame that was the feed's `heard`-th. Never runs backwards within an epoch.
    [[nodiscard]] MediaTime position(const Feed& feed, int64_t heard);
    /// All sound of the epoch has been given and `position` has reached its end.
    [[nodiscard]] bool hasEnded(const Feed& feed, int64_t heard);

private:
    struct Mark {
        int64_t first; ///< Of all frames ever pulled.
        int64_t frames;
        double editedFrame;
        double editedPerFrame;
    };

    [[nodiscard]] int64_t fill(float* interleaved, int64_t frames);
    void fadeOut(float* interleaved, int64_t frames);
    void mark(int64_t first, int64_t frames, double editedFrame, double editedPerFrame);
    [[nodiscard]] int64_t queued() const;

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Block> m_blocks;
    size_t m_offset = 0; ///< Frames of the first block that are gone already.
    std::vector<float> m_tail; ///< The fading end of the epoch before.
    std::deque<Mark> m_marks; ///< Of this epoch only.
    std::shared_ptr<Feed> m_active;
    int64_t m_pulled = 0;
    int m_epoch = 0;
    MediaTime m_reported;
    bool m_finished = false;
    bool m_running = false;
    bool m_closed = false;
};

} // namespace kelmo
