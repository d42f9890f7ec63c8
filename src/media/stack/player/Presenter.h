#pragma once

#include "media/stack/core/MediaTime.h"

#include <QImage>

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace kelmo {

/// Holds the pictures that were made ahead and shows each when the clock reaches it; while paused, the first one of the
/// newest epoch. What is shown stays until there is something newer. Has a thread, which ends with the object; the
/// functions may be called from any.
class Presenter {
public:
    struct Picture {
        std::shared_ptr<const QImage> image;
        MediaTime start; ///< On the edited clock.
        MediaTime end; ///< Not included.
        int epoch = 0;
        int edition = 0; ///< Of the item: a picture of a replaced one is never shown.
    };

    /// `clock` is asked for the time while running, `shown` told of every change of picture, on the thread.
    Presenter(std::function<MediaTime()> clock, std::function<void()> shown);
    ~Presenter();
    Presenter(const Presenter&) = delete;
    Presenter& operator=(const Presenter&) = delete;

    void begin(int epoch, int edition); ///< Drops what waits.
    /// Another item takes over that shows the same up to `until` (on the clock so far), `shift` later: what is made up
    /// to there remains. `moveClock` moves the clock to the new item's; when it says that this cannot be, nothing
    /// happens. Returns where new pictures are wanted from, on the new clock.
    [[nodiscard]] std::optional<MediaTime> carryOn(
        int edition, MediaTime shift, MediaTime until, const std::function<bool()>& moveClock);
    /// Shows the picture at once, if it belongs to the current edition and nothing newer is on show.
    void land(Picture picture);
    /// Exchanges the picture on show for a better image of the same moment. Does nothing if another one is on show.
    void refine(Picture picture);
    /// Adds a picture; waits while there are enough. False if its epoch or edition is over, or once `stop` holds,
    /// which is asked under a lock: before the wait and at every wake().
    [[nodiscard]] bool push(Picture picture, const std::function<bool()>& stop);
    [[nodiscard]] bool hasRoom() const; ///< Whether push() does not wait.
    void wake();
    void dropWaiting();
    void setRunning(bool running, double rate);
    void forget(); ///< Shows nothing.

    [[nodiscard]] Picture shown() const;

private:
    void run();
    void show(Picture picture);

    const std::function<MediaTime()> m_clock;
    const std::function<void()> m_onShown;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Picture> m_waiting;
    Picture m_shown;
    int m_epoch = 0;
    int m_edition = 0;
    bool m_running = false;
    double m_rate = 1;
    bool m_ending = false;
    std::thread m_thread;
};

} // namespace kelmo
