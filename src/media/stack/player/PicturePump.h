#pragma once

#include "media/stack/player/PictureMaker.h"
#include "media/stack/player/Presenter.h"

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
        bool goesOn = false; ///< What is on show and what waits remain: pictures are made from `start` on.
    };

    /// `clock` tells the time while running; `landed` is called, on the thread, once an epoch's first picture is on
    /// show (or there is none to be had), with its number.
    PicturePump(Presenter& presenter, std::function<MediaTime()> clock, std::function<void(int epoch)> landed);
    ~PicturePump();
    PicturePump(const PicturePump&) = delete;
    PicturePump& operator=(const PicturePump&) = delete;

    /// The newest replaces the one before. A first picture that is under way is still finished where starting for the
    /// newest would take longer.
    void begin(Order order);
    void goAhead(); ///< Makes what follows, too.
    void setRunning(bool running, double rate);
    void setBox(QSize pixels); ///< What to fit pictures into; empty while they are hidden, and then none are made.

private:
    void run();
    [[nodiscard]] bool waitForWork(std::unique_lock<std::mutex>& lock);
    void serve();
    [[nodiscard]] bool land();
    [[nodiscard]] bool attend();
    void showNearby(const Order& order, const PictureMoment& wanted);
    [[nodiscard]] bool staysQuiet(const bool& alsoMoved);
    void refine(const PictureMaker::Stop& stop);
    void rest();
    void settle();
    void makeAhead(MediaTime from);
    [[nodiscard]] MediaTime caughtUp(MediaTime time);
    [[nodiscard]] std::optional<double> playingRate();
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
    bool m_refined = false; ///< Whether the first picture is as good as it gets, or need not be.
    int m_attended = 0; ///< The latest epoch that something nearby was looked for.
    FrameDropPolicy m_dropPolicy;
    std::thread m_thread;
};

} // namespace kelmo
