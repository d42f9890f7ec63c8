#pragma once

#include "media/stack/MediaTime.h"

#include <QImage>

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
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
        int epoch = 0;
        int edition = 0; ///< Of the item: a picture of a replaced one is never shown.
    };

    /// `clock` is asked for the time while running, `shown` told of every change of picture, on the thread.
    Presenter(std::function<MediaTime()> clock, std::function<void()> shown);
    ~Presenter();
    Presenter(const Presenter&) = delete;
    Presenter& operator=(const Presenter&) = delete;

    void begin(int epoch, int edition); ///< Drops what waits.
    /// Shows the picture at once, if it belongs to the current edition and nothing newer is on show.
    void land(Picture picture);
    /// Adds a picture; waits while there are enough. False when its epoch is over.
    [[nodiscard]] bool push(Picture picture);
    [[nodiscard]] bool isFull() const;
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
