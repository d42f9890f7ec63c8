#pragma once

#include "media/stack/PictureMaker.h"
#include "media/stack/Presenter.h"

namespace kelmo {

/// Makes the pictures that the presenter shows, ahead of time and across joins. When decoding cannot keep up with the
/// clock, pictures that are late already are left out, then fewer are made, then key pictures alone; it comes back as
/// soon as there is time. Has a thread, which ends with the object.
class PicturePump {
public:
    struct Order {
        int epoch = 0;
        int edition = 0;
        std::shared_ptr<const PlayerItem> item; ///< Null for none.
        MediaTime start;
        bool playing = false; ///< The grid's picture will do, and others will follow.
    };

    /// `clock` tells the time while running; `landed` is called, on the thread, once an epoch's first picture is on
    /// show (or there is none to be had), with its number.
    PicturePump(Presenter& presenter, std::function<MediaTime()> clock, std::function<void(int epoch)> landed);
    ~PicturePump();
    PicturePump(const PicturePump&) = delete;
    PicturePump& operator=(const PicturePump&) = delete;

    void begin(Order order); ///< The newest replaces the one before, whose first picture is still finished.
    void goAhead(); ///< Makes what follows, too.
    void setRunning(bool running, double rate);
    void setBox(QSize pixels); ///< What to fit pictures into; empty when nobody looks, and then none are made.

private:
    void run();
    [[nodiscard]] bool waitForWork(std::unique_lock<std::mutex>& lock);
    void serve();
    void makeAhead(MediaTime from);
    void refine();
    void settle(double lateMs);
    [[nodiscard]] MediaTime caughtUp(MediaTime time);
    [[nodiscard]] bool isInterrupted();

    Presenter& m_presenter;
    const std::function<MediaTime()> m_clock;
    const std::function<void(int)> m_landed;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::optional<Order> m_next;
    QSize m_box;
    bool m_boxChanged = false;
    bool m_ahead = false;
    bool m_running = false;
    double m_rate = 1;
    bool m_ending = false;

    // The thread's own.
    PictureMaker m_maker;
    Order m_order;
    QSize m_servedBox;
    PictureMoment m_first;
    int m_thinning = 0;
    double m_steadySinceMs = 0;
    double m_thinnedAtMs = 0;
    std::thread m_thread;
};

} // namespace kelmo
