#include "media/stack/player/Presenter.h"

#include <algorithm>

namespace kelmo {

namespace {

constexpr size_t capacity = 10;
constexpr auto longestWait = std::chrono::microseconds(20'000);
constexpr auto shortestWait = std::chrono::microseconds(500);

} // namespace

Presenter::Presenter(std::function<MediaTime()> clock, std::function<void()> shown)
    : m_clock(std::move(clock))
    , m_onShown(std::move(shown))
    , m_thread([this] { run(); })
{
}

Presenter::~Presenter()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
        m_epoch = -1;
        m_changed.notify_all();
    }
    m_thread.join();
}

void Presenter::begin(int epoch, int edition)
{
    const std::lock_guard lock(m_mutex);
    m_epoch = epoch;
    m_edition = edition;
    m_waiting.clear();
    m_changed.notify_all();
}

std::optional<MediaTime> Presenter::carryOn(
    int edition, MediaTime shift, MediaTime until, const std::function<bool()>& moveClock)
{
    const std::lock_guard lock(m_mutex);
    if (m_shown.edition != m_edition || !moveClock())
        return std::nullopt;
    std::erase_if(m_waiting, [&](const Picture& picture) { return picture.start >= until; });
    const auto move = [&](Picture& picture) {
        picture.start += shift;
        picture.end = std::min(picture.end, until) + shift;
        picture.edition = edition;
    };
    move(m_shown);
    std::for_each(m_waiting.begin(), m_waiting.end(), move);
    m_edition = edition;
    m_changed.notify_all();
    return m_waiting.empty() ? m_shown.end : m_waiting.back().end;
}

void Presenter::show(Picture picture)
{
    const bool isNew = picture.image != m_shown.image;
    m_shown = std::move(picture);
    if (isNew)
        m_onShown();
}

void Presenter::land(Picture picture)
{
    const std::lock_guard lock(m_mutex);
    const bool isNewest = picture.epoch == m_epoch;
    if (picture.edition == m_edition && (isNewest || (!m_running && picture.epoch > m_shown.epoch)))
        show(std::move(picture));
}

void Presenter::refine(Picture picture)
{
    const std::lock_guard lock(m_mutex);
    const bool isSame = picture.epoch == m_shown.epoch && picture.edition == m_shown.edition
        && picture.start == m_shown.start && picture.edition == m_edition;
    if (isSame)
        show(std::move(picture));
}

bool Presenter::push(Picture picture, const std::function<bool()>& stop)
{
    std::unique_lock lock(m_mutex);
    const auto isOver = [&] { return m_epoch != picture.epoch || m_edition != picture.edition || stop(); };
    m_changed.wait(lock, [&] { return isOver() || m_waiting.size() < capacity; });
    if (isOver())
        return false;
    m_waiting.push_back(std::move(picture));
    m_changed.notify_all();
    return true;
}

bool Presenter::hasRoom() const
{
    const std::lock_guard lock(m_mutex);
    return m_waiting.size() < capacity;
}

void Presenter::wake()
{
    const std::lock_guard lock(m_mutex);
    m_changed.notify_all();
}

void Presenter::dropWaiting()
{
    const std::lock_guard lock(m_mutex);
    m_waiting.clear();
    m_changed.notify_all();
}

void Presenter::setRunning(bool running, double rate)
{
    const std::lock_guard lock(m_mutex);
    m_running = running;
    m_rate = rate;
    m_changed.notify_all();
}

void Presenter::forget()
{
    const std::lock_guard lock(m_mutex);
    show({});
}

Presenter::Picture Presenter::shown() const
{
    const std::lock_guard lock(m_mutex);
    return m_shown;
}

void Presenter::run()
{
    std::unique_lock lock(m_mutex);
    while (!m_ending) {
        if (!m_running || m_waiting.empty()) {
            m_changed.wait(lock);
            continue;
        }
        const int edition = m_edition;
        lock.unlock();
        const MediaTime now = m_clock();
        lock.lock();
        if (edition != m_edition)
            continue; // That was the time of another clock.
        const auto next = std::find_if(
            m_waiting.begin(), m_waiting.end(), [&](const Picture& picture) { return picture.start > now; });
        if (next != m_waiting.begin() && m_running) {
            Picture due = *std::prev(next);
            m_waiting.erase(m_waiting.begin(), next);
            show(std::move(due));
            m_changed.notify_all();
        }
        if (m_waiting.empty())
            continue;
        const double us = double((m_waiting.front().start - now).us) / m_rate;
        const auto until = std::chrono::microseconds(int64_t(us));
        m_changed.wait_for(lock, std::clamp<std::chrono::microseconds>(until, shortestWait, longestWait));
    }
}

} // namespace kelmo
