#pragma once

#include "media/stack/core/MediaTime.h"

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace kelmo {

/// Sound on its way from the mixer to the device, and the map from what was heard to where in the edit that is. Each
/// start of playback is an epoch with a number of its own; what belongs to an older one is dropped. An edit that goes
/// on where another one plays does not end the epoch but is its next revision: blocks stay on the clock of the epoch's
/// first revision, and positions are reported on the newest one's. Thread-safe.
class SoundRing {
public:
    /// A stretch of sound and the edited time that it covers.
    struct Block {
        std::vector<float> samples; ///< Interleaved stereo.
        double editedFrame = 0; ///< Where it starts on the epoch's clock, in frames at 48 kHz.
        double editedPerFrame = 1;
    };

    /// One device's account of what it was given.
    struct Feed {
        int64_t given = 0; ///< Frames, silence included.
        int64_t base = 0; ///< The ring's count when the device had been given nothing.
    };

    /// Drops all sound and starts again at `start`; what the device had begun to play fades out.
    void begin(int epoch, MediaTime start);
    /// Adds sound; waits while there is enough. False when the epoch is over. Of a revision that has been replaced,
    /// only what both have in common is taken.
    [[nodiscard]] bool push(int epoch, int revision, Block block);
    void finish(int epoch, int revision); ///< Nothing follows, unless another revision does.
    void setRunning(bool running); ///< While not, devices get silence and the position stays.
    void close(); ///< Lets a waiting push() go.

    /// Where a new revision stands.
    struct Carried {
        int revision = 0;
        int64_t shift = 0; ///< From the epoch's clock to the revision's, in frames.
    };
    /// Begins a revision that sounds the same up to frame `until` of the revision so far, `shift` frames later. None
    /// when a device has been given later sound already.
    [[nodiscard]] std::optional<Carried> carryOn(int64_t shift, int64_t until);

    /// What a mixer that takes up a revision finds, in frames of the epoch's clock.
    struct Held {
        int64_t valid = 0; ///< Sound mixed for the revision before holds up to here.
        int64_t end = 0; ///< Where the sound that the ring has ends.
    };
    [[nodiscard]] Held takeUp(int epoch, int revision);

    /// Makes `feed` the one that gets sound; the others get silence. Null for none.
    void activate(const std::shared_ptr<Feed>& feed);
    void pull(Feed& feed, float* interleaved, int frames);
    [[nodiscard]] int64_t givenTo(const Feed& feed) const;

    /// The edited time of the frame that was the feed's `heard`-th. Never runs backwards within an epoch.
    [[nodiscard]] MediaTime position(const Feed& feed, int64_t heard);
    /// All sound of the epoch has been given and `position` has reached its end.
    [[nodiscard]] bool hasEnded(const Feed& feed, int64_t heard);

private:
    static constexpr int64_t everything = INT64_MAX / 8;

    struct Mark {
        int64_t first; ///< Of all frames ever pulled.
        int64_t frames;
        double editedFrame;
        double editedPerFrame;
    };

    [[nodiscard]] int64_t fill(float* interleaved, int64_t frames);
    void leaveTail();
    void fadeOut(float* interleaved, int64_t frames);
    void mark(int64_t first, int64_t frames, double editedFrame, double editedPerFrame);
    [[nodiscard]] int64_t queued() const;
    [[nodiscard]] double givenEnd() const;
    [[nodiscard]] double queuedEnd() const;
    void cutAt(int64_t frame);

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Block> m_blocks;
    size_t m_offset = 0; ///< Frames of the first block that are gone already.
    std::vector<float> m_tail; ///< The fading end of the epoch before.
    std::deque<Mark> m_marks; ///< Of this epoch only.
    std::shared_ptr<Feed> m_active;
    int64_t m_pulled = 0;
    int m_epoch = 0;
    double m_start = 0; ///< Of the epoch, in frames.
    int m_revision = 0;
    int64_t m_shift = 0; ///< From the epoch's clock to the revision's.
    int64_t m_validUntil = everything; ///< Of what the revisions before the newest have mixed.
    MediaTime m_reported;
    bool m_finished = false;
    bool m_running = false;
    bool m_closed = false;
};

} // namespace kelmo
