#include "media/stack/PicturePump.h"

#include "platform/MonotonicClock.h"

namespace kelmo {

namespace {

/// A paused picture is made again with care once nothing has moved for so long.
constexpr auto settledAfter = std::chrono::milliseconds(90);
constexpr MediaTime joinLead{2'000'000};
constexpr double lateMs = 60;
constexpr double thinEveryMs = 400;
constexpr double thickenAfterMs = 3000;

} // namespace

PicturePump::PicturePump(Presenter& presenter, std::function<MediaTime()> clock, std::function<void(int epoch)> landed)
    : m_presenter(presenter)
    , m_clock(std::move(clock))
    , m_landed(std::move(landed))
    , m_thread([this] { run(); })
{
}

PicturePump::~PicturePump()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
        m_changed.notify_all();
    }
    m_presenter.begin(-1, -1);
    m_maker.cancel();
    m_thread.join();
}

void PicturePump::begin(Order order)
{
    const std::lock_guard lock(m_mutex);
    m_ahead = order.playing;
    m_next = std::move(order);
    m_changed.notify_all();
}

void PicturePump::goAhead()
{
    const std::lock_guard lock(m_mutex);
    m_ahead = true;
    m_changed.notify_all();
}

void PicturePump::setRunning(bool running, double rate)
{
    const std::lock_guard lock(m_mutex);
    m_running = running;
    m_rate = rate;
    m_changed.notify_all();
}

void PicturePump::setBox(QSize pixels)
{
    const std::lock_guard lock(m_mutex);
    m_boxChanged = m_boxChanged || pixels != m_box;
    m_box = pixels;
    m_changed.notify_all();
}

bool PicturePump::isInterrupted()
{
    const std::lock_guard lock(m_mutex);
    return m_ending || m_next || m_boxChanged;
}

void PicturePump::run()
{
    std::unique_lock lock(m_mutex);
    while (waitForWork(lock)) {
        if (m_next)
            m_order = *std::exchange(m_next, std::nullopt);
        else
            m_order.start = m_running ? m_clock() : m_order.start; // The same again in another size.
        m_servedBox = m_box;
        m_boxChanged = false;
        lock.unlock();
        serve();
        lock.lock();
    }
}

bool PicturePump::waitForWork(std::unique_lock<std::mutex>& lock)
{
    m_changed.wait(lock, [this] { return m_ending || m_next || m_boxChanged; });
    return !m_ending;
}

void PicturePump::serve()
{
    m_maker.setItem(m_servedBox.isEmpty() ? nullptr : m_order.item);
    if (!m_order.item || m_servedBox.isEmpty()) {
        m_landed(m_order.epoch);
        return;
    }
    m_steadySinceMs = MonotonicClock::nowMs();
    const PictureGrid& grid = m_maker.grid();
    m_first = m_order.playing ? grid.at(m_order.start) : grid.exactAt(m_order.start);
    const PictureMaker::Image image = m_maker.make(m_first, m_servedBox, Scaling::Fast);
    if (image)
        m_presenter.land({image, m_first.start, m_order.epoch, m_order.edition});
    m_landed(m_order.epoch);
    refine();
    makeAhead(m_first.end);
}

/// Waits for the order to go ahead; meanwhile a picture that is looked at for a while is scaled with care.
void PicturePump::refine()
{
    std::unique_lock lock(m_mutex);
    const auto moved = [this] { return m_ending || m_next || m_boxChanged || m_ahead; };
    if (m_changed.wait_for(lock, settledAfter, moved))
        return;
    lock.unlock();
    const PictureMaker::Image image = m_maker.make(m_first, m_servedBox, Scaling::Fine);
    if (image)
        m_presenter.land({image, m_first.start, m_order.epoch, m_order.edition});
    lock.lock();
    m_changed.wait(lock, moved);
}

/// Where to go on when the clock is past `time`: what nobody will see any more need not be made.
MediaTime PicturePump::caughtUp(MediaTime time)
{
    {
        const std::lock_guard lock(m_mutex);
        if (!m_running)
            return time;
    }
    const MediaTime now = m_clock();
    return m_maker.grid().at(time).end < now ? now : time;
}

void PicturePump::settle(double late)
{
    const double now = MonotonicClock::nowMs();
    if (late > lateMs && m_thinning < PictureGrid::keyPicturesOnly && now - m_thinnedAtMs > thinEveryMs) {
        ++m_thinning;
        m_thinnedAtMs = now;
    }
    if (late > 0)
        m_steadySinceMs = now;
    if (m_thinning > 0 && now - m_steadySinceMs > thickenAfterMs) {
        --m_thinning;
        m_steadySinceMs = now;
    }
    m_maker.setThinning(m_thinning);
}

void PicturePump::makeAhead(MediaTime from)
{
    const MediaTime duration = m_order.item->composition->duration;
    MediaTime time = from;
    while (!isInterrupted() && time < duration) {
        time = caughtUp(time);
        const PictureMoment moment = m_maker.grid().at(time);
        m_maker.prepareJoin(time, joinLead);
        PictureMaker::Image image = m_maker.make(moment, m_servedBox, Scaling::Fast);
        if (image && !m_presenter.push({std::move(image), moment.start, m_order.epoch, m_order.edition}))
            return;
        bool running = false;
        {
            const std::lock_guard lock(m_mutex);
            running = m_running;
        }
        if (running)
            settle((m_clock() - moment.end).ms());
        time = moment.end;
    }
}

} // namespace kelmo
