#pragma once

#include "media/stack/composition/AudioMixer.h"
#include "media/stack/player/PlayerItem.h"
#include "media/stack/player/SoundRing.h"
#include "media/stack/player/SoundStretcher.h"

#include <thread>

namespace kelmo {

/// Fills the ring: mixes an edit's sound ahead of time and stretches it to the playing rate. Has a thread, which ends
/// with the object. The newest order replaces the one before at once.
class SoundPump {
public:
    struct Order {
        int epoch = 0;
        std::shared_ptr<const PlayerItem> item;
        MediaTime start;
        double rate = 1;
        /// Another item goes on in the epoch, as this revision of it; see SoundRing. `start` is not looked at then.
        bool goesOn = false;
        SoundRing::Carried carried;
    };

    explicit SoundPump(std::shared_ptr<SoundRing> ring);
    ~SoundPump();
    SoundPump(const SoundPump&) = delete;
    SoundPump& operator=(const SoundPump&) = delete;

    void begin(Order order);

private:
    /// A stretch that is mixed without a break, in samples of the item's clock.
    struct Course {
        int64_t first = 0;
        int64_t at = 0; ///< The next to be mixed.
        int64_t end = 0;
        bool fades = false; ///< Its beginning would click.
        std::unique_ptr<SoundStretcher> stretcher;
    };

    void run();
    void serve(Order order);
    void prepareMixer(const Order& order);
    [[nodiscard]] Course begun(const Order& order);
    void turnTo(Order next, Order& order, Course& course);
    [[nodiscard]] SoundRing::Block mixOn(const Order& order, Course& course);
    [[nodiscard]] std::optional<Order> takeNextRevision(const Order& order);
    [[nodiscard]] bool isStale(int epoch) const { return m_epoch != epoch; }

    const std::shared_ptr<SoundRing> m_ring;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::optional<Order> m_next;
    bool m_ending = false;
    std::atomic<int> m_epoch = 0;

    std::unique_ptr<AudioMixer> m_mixer; ///< Null when the sound cannot be read; the thread's own, like the item.
    std::shared_ptr<const PlayerItem> m_item;
    std::thread m_thread;
};

} // namespace kelmo
