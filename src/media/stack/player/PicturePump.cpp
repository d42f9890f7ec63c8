#include "media/stack/player/PicturePump.h"

#include "platform/MonotonicClock.h"

namespace kelmo {

namespace {

/// A paused picture is made again with care once nothing has moved for so long.
constexpr auto settledAfter = std::chrono::milliseconds(90);
constexpr MediaTime joinLead{2'000'000};

using Use = TrackFrames::Use;

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
    {
        const std::lock_guard lock(m_mutex);
        m_boxChanged = m_boxChanged || pixels != m_box;
        m_box = pixels;
        m_changed.notify_all();
    }
    m_presenter.wake(); // Its lock comes before ours.
}

bool PicturePump::isInterrupted()
{
    const std::lock_guard lock(m_mutex);
    return m_ending || m_next || m_boxChanged;
}

/// None while it does not play.
std::optional<double> PicturePump::playingRate()
{
    const std::lock_guard lock(m_mutex);
    return m_running ? std::optional(m_rate) : std::nullopt;
}

void PicturePump::run()
{
    std::unique_lock lock(m_mutex);
    while (waitForWork(lock)) {
        if (m_next)
            m_order = *std::exchange(m_next, std::nullopt);
        else // The same again in another size.
            m_order = {m_order.epoch, m_order.edition, m_order.item, m_running ? m_clock() : m_order.start,
                m_order.playing, false};
        m_servedBox = m_box;
        const bool resized = std::exchange(m_boxChanged, false);
        lock.unlock();
        if (resized)
            m_presenter.dropWaiting();
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
    m_refined = m_order.playing;
    if (m_order.goesOn) {
        makeAhead(m_order.start);
        return;
    }
    m_dropPolicy.begin(MonotonicClock::nowMs());
    if (land()) {
        rest();
        makeAhead(m_first.end);
    }
}

/// Shows an order's first picture. False when something newer takes its place.
bool PicturePump::land()
{
    if (!m_order.playing)
        m_maker.setDropLevel({}); // To the exact frame, whatever was left out while it played.
    const PictureGrid& grid = m_maker.grid();
    m_first = m_order.playing ? grid.at(m_order.start) : grid.exactAt(m_order.start);
    if (!m_order.playing)
        showNearby(m_order, m_first);
    const PictureMaker::Image image
        = m_maker.make(m_first, m_servedBox, {Use::Look, Scaling::Fast, [this] { return attend(); }});
    if (!image && isInterrupted())
        return false;
    if (image)
        m_presenter.land({image, m_first.start, m_first.end, m_order.epoch, m_order.edition});
    m_landed(m_order.epoch);
    return true;
}

/// Between two packets on the way to a first picture: shows what is at hand for a newer order, and says whether to
/// give up for it. What is nearly done is finished even though it is out of date, or a pointer that moves without a
/// pause would see nothing.
bool PicturePump::attend()
{
    std::unique_lock lock(m_mutex);
    if (m_ending || m_boxChanged)
        return true;
    if (!m_next)
        return false;
    if (m_next->item != m_order.item || m_next->playing || m_order.playing)
        return true;
    const Order next = *m_next;
    lock.unlock();
    const PictureMoment wanted = m_maker.grid().exactAt(next.start);
    if (m_maker.costOf(wanted) < m_maker.costOf(m_first))
        return true;
    showNearby(next, wanted);
    return false;
}

/// While a person scrubs, a picture that was decoded before is shown at once when it is nearer than the one on show.
void PicturePump::showNearby(const Order& order, const PictureMoment& wanted)
{
    if (std::exchange(m_attended, order.epoch) == order.epoch)
        return;
    const std::optional<PictureMoment> near = m_maker.knownNear(wanted);
    const Presenter::Picture shown = m_presenter.shown();
    const auto distance = [&](MediaTime time) { return std::abs((time - order.start).us); };
    if (!near || (shown.edition == order.edition && distance(shown.start) <= distance(near->start)))
        return;
    if (const PictureMaker::Image image = m_maker.make(*near, m_servedBox, {Use::Known, Scaling::Fast, {}}))
        m_presenter.land({image, near->start, near->end, order.epoch, order.edition});
}

/// Whether nothing but `alsoMoved` happens for a while, asked under the lock.
bool PicturePump::staysQuiet(const bool& alsoMoved)
{
    std::unique_lock lock(m_mutex);
    return !m_changed.wait_for(lock, settledAfter, [&] { return m_ending || m_next || m_boxChanged || alsoMoved; });
}

/// Makes the first picture again, scaled with care.
void PicturePump::refine(const PictureMaker::Stop& stop)
{
    m_refined = true;
    const PictureMaker::Image image = m_maker.make(m_first, m_servedBox, {Use::Look, Scaling::Fine, stop});
    if (image)
        m_presenter.refine({image, m_first.start, m_first.end, m_order.epoch, m_order.edition});
}

/// Waits for the order to go ahead. Meanwhile a picture that is looked at for a while is refined, and the decoders are
/// brought to where playing would go on.
void PicturePump::rest()
{
    if (!staysQuiet(m_ahead))
        return;
    const auto moved = [this] { return m_ending || m_next || m_boxChanged || m_ahead; };
    const auto stop = [this, moved] {
        const std::lock_guard lock(m_mutex);
        return moved();
    };
    refine(stop);
    m_maker.getInStep(m_first, stop);
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, moved);
}

/// The same for an order that went ahead before its picture had been looked at for long: once enough is made for
/// playing to begin, and it does not.
void PicturePump::settle()
{
    if (!m_refined && staysQuiet(m_running))
        refine([this] { return isInterrupted() || playingRate(); });
}

/// Where to go on when the clock is past `time`: what is not shown any more need not be made.
MediaTime PicturePump::caughtUp(MediaTime time)
{
    if (!playingRate())
        return time;
    const MediaTime now = m_clock();
    return m_maker.grid().at(time).end < now ? now : time;
}

void PicturePump::makeAhead(MediaTime from)
{
    const MediaTime duration = m_order.item->composition->duration;
    MediaTime time = from;
    while (!isInterrupted() && time < duration) {
        time = caughtUp(time);
        const PictureMoment moment = m_maker.grid().at(time);
        m_maker.prepareJoin(time, joinLead);
        PictureMaker::Image image
            = m_maker.make(moment, m_servedBox, {Use::Run, Scaling::Fast, [this] { return isInterrupted(); }});
        if (isInterrupted())
            return;
        if (!m_presenter.hasRoom())
            settle();
        if (image
            && !m_presenter.push({std::move(image), moment.start, moment.end, m_order.epoch, m_order.edition},
                [this] { return isInterrupted(); }))
            return;
        if (const std::optional<double> rate = playingRate()) {
            m_dropPolicy.note((m_clock() - moment.end).ms(), MonotonicClock::nowMs());
            m_maker.setDropLevel(m_dropPolicy.dropLevel(*rate));
        }
        time = moment.end;
    }
    settle();
}

} // namespace kelmo
