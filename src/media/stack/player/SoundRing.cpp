#include "media/stack/player/SoundRing.h"

#include "media/stack/player/AudioOutput.h"

#include <algorithm>
#include <cmath>

namespace kelmo {

namespace {

constexpr int channels = AudioOutput::channels;
constexpr int64_t capacity = AudioOutput::rate * 4 / 10;
constexpr size_t fadeFrames = AudioOutput::rate / 200;
constexpr size_t maxMarks = 400;

MediaTime timeOf(double editedFrame) { return {int64_t(editedFrame * 1e6 / AudioOutput::rate)}; }

} // namespace

void SoundRing::begin(int epoch, MediaTime start)
{
    const std::lock_guard lock(m_mutex);
    if (m_running)
        leaveTail();
    m_blocks.clear();
    m_offset = 0;
    m_marks.clear();
    m_epoch = epoch;
    m_start = double(start.us) * AudioOutput::rate / 1e6;
    m_revision = 0;
    m_shift = 0;
    m_validUntil = everything;
    m_reported = start;
    m_finished = false;
    m_changed.notify_all();
}

/// What the device has begun to play breaks off: a little more of it is heard, ever more softly.
void SoundRing::leaveTail()
{
    m_tail.assign(fadeFrames * channels, 0);
    const int64_t got = fill(m_tail.data(), int64_t(fadeFrames));
    m_tail.resize(size_t(got) * channels);
    fadeOut(m_tail.data(), got);
}

void SoundRing::fadeOut(float* interleaved, int64_t frames)
{
    for (int64_t i = 0; i < frames * channels; ++i) {
        const int64_t frame = i / channels;
        interleaved[i] *= 1 - float(frame) / float(frames);
    }
}

int64_t SoundRing::queued() const
{
    int64_t frames = -int64_t(m_offset);
    for (const Block& block : m_blocks)
        frames += int64_t(block.samples.size()) / channels;
    return frames;
}

/// Where on the epoch's clock the sound ends that devices have been given.
double SoundRing::givenEnd() const
{
    if (m_marks.empty())
        return m_start;
    const Mark& last = m_marks.back();
    return last.editedFrame + double(last.frames) * last.editedPerFrame;
}

double SoundRing::queuedEnd() const
{
    if (m_blocks.empty())
        return givenEnd();
    const Block& last = m_blocks.back();
    const size_t frames = last.samples.size() / channels;
    return last.editedFrame + double(frames) * last.editedPerFrame;
}

/// Drops what waits from a frame of the epoch's clock on.
void SoundRing::cutAt(int64_t frame)
{
    while (!m_blocks.empty() && queuedEnd() > double(frame)) {
        Block& last = m_blocks.back();
        const double fitting = std::floor((double(frame) - last.editedFrame) / last.editedPerFrame);
        const size_t gone = m_blocks.size() == 1 ? m_offset : 0;
        if (fitting > double(gone)) {
            last.samples.resize(size_t(fitting) * channels);
            // Sound at the playing rate goes on to the sample, any other begins again.
            if (last.editedPerFrame != 1) {
                const auto fading = std::min<int64_t>(int64_t(fadeFrames), int64_t(fitting));
                fadeOut(last.samples.data() + last.samples.size() - size_t(fading) * channels, fading);
            }
            return;
        }
        m_blocks.pop_back();
        m_offset = m_blocks.empty() ? 0 : m_offset;
    }
}

std::optional<SoundRing::Carried> SoundRing::carryOn(int64_t shift, int64_t until)
{
    const std::lock_guard lock(m_mutex);
    const int64_t valid = until - m_shift;
    if (givenEnd() > double(valid))
        return std::nullopt;
    m_validUntil = std::min(m_validUntil, valid);
    cutAt(m_validUntil);
    m_shift += shift;
    ++m_revision;
    m_finished = false;
    m_reported.us += scaled(shift, 1'000'000, AudioOutput::rate);
    m_changed.notify_all();
    return Carried{m_revision, m_shift};
}

SoundRing::Held SoundRing::takeUp(int epoch, int revision)
{
    const std::lock_guard lock(m_mutex);
    if (epoch != m_epoch)
        return {};
    const Held held{m_validUntil, int64_t(std::ceil(queuedEnd()))};
    if (revision == m_revision)
        m_validUntil = everything;
    return held;
}

bool SoundRing::push(int epoch, int revision, Block block)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [&] { return m_closed || epoch != m_epoch || queued() < capacity; });
    if (m_closed || epoch != m_epoch)
        return false;
    if (!block.samples.empty())
        m_blocks.push_back(std::move(block));
    if (revision != m_revision)
        cutAt(m_validUntil);
    return true;
}

void SoundRing::finish(int epoch, int revision)
{
    const std::lock_guard lock(m_mutex);
    if (epoch == m_epoch && revision == m_revision)
        m_finished = true;
}

void SoundRing::setRunning(bool running)
{
    const std::lock_guard lock(m_mutex);
    if (m_running && !running)
        leaveTail();
    m_running = running;
}

void SoundRing::close()
{
    const std::lock_guard lock(m_mutex);
    m_closed = true;
    m_changed.notify_all();
}

void SoundRing::activate(const std::shared_ptr<Feed>& feed)
{
    const std::lock_guard lock(m_mutex);
    m_active = feed;
    if (feed)
        feed->base = m_pulled - feed->given;
}

int64_t SoundRing::givenTo(const Feed& feed) const
{
    const std::lock_guard lock(m_mutex);
    return feed.given;
}

void SoundRing::mark(int64_t first, int64_t frames, double editedFrame, double editedPerFrame)
{
    m_marks.push_back({first, frames, editedFrame, editedPerFrame});
    if (m_marks.size() > maxMarks)
        m_marks.pop_front();
}

int64_t SoundRing::fill(float* interleaved, int64_t frames)
{
    int64_t filled = 0;
    while (filled < frames && !m_blocks.empty()) {
        const Block& block = m_blocks.front();
        const auto size = int64_t(block.samples.size()) / channels;
        const int64_t count = std::min(frames - filled, size - int64_t(m_offset));
        std::copy_n(block.samples.data() + m_offset * channels, count * channels, interleaved + filled * channels);
        mark(m_pulled + filled, count, block.editedFrame + double(m_offset) * block.editedPerFrame,
            block.editedPerFrame);
        filled += count;
        m_offset += size_t(count);
        if (int64_t(m_offset) == size) {
            m_blocks.pop_front();
            m_offset = 0;
        }
    }
    return filled;
}

void SoundRing::pull(Feed& feed, float* interleaved, int frames)
{
    std::fill_n(interleaved, size_t(frames) * channels, 0.0f);
    const std::lock_guard lock(m_mutex);
    feed.given += frames;
    if (&feed != m_active.get())
        return;
    const size_t tail = std::min(m_tail.size(), size_t(frames) * channels);
    std::copy_n(m_tail.begin(), tail, interleaved);
    m_tail.erase(m_tail.begin(), m_tail.begin() + ptrdiff_t(tail));
    const auto after = int64_t(tail) / channels;
    m_pulled += after;
    if (m_running)
        (void)fill(interleaved + tail, frames - after);
    m_pulled += frames - after;
    m_changed.notify_all();
}

MediaTime SoundRing::position(const Feed& feed, int64_t heard)
{
    const std::lock_guard lock(m_mutex);
    const int64_t frame = feed.base + heard;
    const auto next = std::upper_bound(
        m_marks.begin(), m_marks.end(), frame, [](int64_t at, const Mark& each) { return at < each.first; });
    if (next != m_marks.begin()) {
        const Mark& mark = *std::prev(next);
        const auto within = double(std::min(frame - mark.first, mark.frames));
        m_reported = std::max(m_reported, timeOf(mark.editedFrame + double(m_shift) + within * mark.editedPerFrame));
    }
    return m_reported;
}

bool SoundRing::hasEnded(const Feed& feed, int64_t heard)
{
    const std::lock_guard lock(m_mutex);
    if (!m_finished || !m_blocks.empty())
        return false;
    return m_marks.empty() || feed.base + heard >= m_marks.back().first + m_marks.back().frames;
}

} // namespace kelmo
