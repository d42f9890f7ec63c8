#include "media/stack/container/SoundClock.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>

namespace kelmo {

namespace {

int64_t median(std::vector<int64_t> values)
{
    const auto middle = values.begin() + int64_t(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Puts the packets of a track one behind the other.
class Placing {
public:
    Placing(std::span<const int64_t> clock, std::span<const int> lengths, int sampleRate)
        : m_clock(clock)
        , m_lengths(lengths)
        , m_rounding(sampleRate / 1000)
        , m_shortHole(sampleRate * 15 / 1000)
        , m_drift(sampleRate * 40 / 1000)
        , m_longHole(sampleRate / 10)
        , m_shortStretch(sampleRate / 4)
        , m_window(sampleRate * 5LL)
    {
    }

    /// Whether sounding takes about as long as the clock says, usually.
    [[nodiscard]] bool lengthsFit() const
    {
        const size_t step = std::min<size_t>(50, m_clock.size() - 1);
        std::vector<int64_t> errors;
        for (size_t i = 1; i + step <= m_clock.size() && step > 1; i += step) {
            const auto first = m_lengths.begin() + int64_t(i);
            const int64_t sounded = std::accumulate(first, first + int64_t(step) - 1, int64_t(0));
            const int64_t clocked = m_clock[i + step - 1] - m_clock[i];
            errors.push_back((std::abs(clocked - sounded) - 100 * m_rounding) * 4 - sounded);
        }
        return errors.empty() || median(std::move(errors)) <= 0;
    }

    std::vector<int64_t> positions()
    {
        measureLag();
        // What is heard first starts when its packet says. A packet that only prepares for the next has no sound.
        const size_t first = m_lengths[0] == 0 && m_lag.size() > 1 ? 1 : 0;
        m_settled = first;
        int64_t shift = m_lag[first];
        std::vector<int64_t> positions;
        positions.reserve(m_lag.size());
        for (size_t i = 0; i < m_lag.size(); ++i) {
            if (i > first) {
                const int64_t change = changeAt(i, shift);
                shift += change;
                m_settled = change != 0 ? i : m_settled;
            }
            positions.push_back(m_sounded[i] + shift);
        }
        return positions;
    }

private:
    struct Stretch {
        int64_t least = INT64_MAX;
        int64_t most = INT64_MIN;
        int64_t length = 0; ///< Samples.
        size_t first = 0; ///< Packet, included.
        size_t last = 0; ///< Packet, included.
    };

    void measureLag()
    {
        int64_t sounded = 0;
        for (size_t i = 0; i < m_clock.size(); ++i) {
            m_sounded.push_back(sounded);
            m_lag.push_back(m_clock[i] - sounded);
            sounded += m_lengths[i];
        }
    }

    [[nodiscard]] int64_t stepAt(size_t packet) const { return m_lag[packet] - m_lag[packet - 1]; }

    void add(Stretch& stretch, size_t packet) const
    {
        stretch.least = std::min(stretch.least, m_lag[packet]);
        stretch.most = std::max(stretch.most, m_lag[packet]);
        stretch.length += m_lengths[packet];
        stretch.first = std::min(stretch.first, packet);
        stretch.last = std::max(stretch.last, packet);
    }

    /// The lag that a stretch begins with, up to the first hole in it, if it has more.
    [[nodiscard]] int64_t usualLag(const Stretch& stretch) const
    {
        const std::vector<int64_t> lags(
            m_lag.begin() + int64_t(stretch.first), m_lag.begin() + int64_t(stretch.last) + 1);
        std::vector<std::pair<int64_t, int64_t>> rest(lags.size()); // The least and the most from here on.
        for (size_t i = lags.size(); i-- > 0;) {
            rest[i] = {lags[i], lags[i]};
            if (i + 1 < lags.size())
                rest[i] = {std::min(rest[i + 1].first, lags[i]), std::max(rest[i + 1].second, lags[i])};
        }
        int64_t least = lags[0];
        int64_t most = lags[0];
        size_t end = 1;
        while (end < lags.size() && rest[end].first <= most + m_rounding && rest[end].second >= least - m_rounding) {
            least = std::min(least, lags[end]);
            most = std::max(most, lags[end++]);
        }
        return median({lags.begin(), lags.begin() + int64_t(end)});
    }

    /// The packets up to a few seconds before this one, as far as there was no hole.
    [[nodiscard]] Stretch before(size_t packet) const
    {
        Stretch stretch{.first = packet};
        for (size_t i = packet; i > m_settled && stretch.length < m_window; --i)
            add(stretch, i - 1);
        return stretch;
    }

    /// This packet and those for a few seconds behind it, as far as there is no obvious hole.
    [[nodiscard]] Stretch from(size_t packet) const
    {
        Stretch stretch{.first = packet};
        for (size_t i = packet; i < m_lag.size() && stretch.length < m_window; ++i) {
            if (i > packet && std::abs(stepAt(i)) > m_longHole)
                break;
            add(stretch, i);
        }
        return stretch;
    }

    /// By how much the sound is to be moved from this packet on; 0 where it just goes on.
    [[nodiscard]] int64_t changeAt(size_t packet, int64_t shift) const
    {
        if (std::abs(stepAt(packet)) > m_rounding)
            return holeAt(packet);
        // Two clocks that drift apart are put together now and then, before anybody sees it.
        if (std::abs(m_lag[packet] - shift) <= m_drift)
            return 0;
        const Stretch next = from(packet);
        const bool lasts = next.least > shift + m_drift || next.most < shift - m_drift;
        return lasts ? m_lag[packet] - shift : 0;
    }

    /// The length of the hole in front of a packet whose clock jumps, negative for an overlap; 0 if it jumps back
    /// later.
    [[nodiscard]] int64_t holeAt(size_t packet) const
    {
        const Stretch past = before(packet);
        const Stretch next = from(packet);
        const bool lasts = past.most + m_rounding < next.least || next.most + m_rounding < past.least;
        const bool isLong = std::abs(stepAt(packet)) > m_longHole;
        if (!lasts && !isLong)
            return 0;
        const int64_t change = usualLag(next) - usualLag(past);
        // Block sizes often change right at the start, and at the end no packet is left to tell.
        const bool isUncertain = std::min(past.length, next.length) < m_shortStretch;
        return isUncertain && std::abs(change) <= m_shortHole ? 0 : change;
    }

    std::span<const int64_t> m_clock;
    std::span<const int> m_lengths;
    const int64_t m_rounding; ///< Samples, as all below: clocks are rounded to milliseconds.
    const int64_t m_shortHole; ///< Less than any lost packet leaves at the start or the end.
    const int64_t m_drift;
    const int64_t m_longHole; ///< Nothing that is this far off is let pass.
    const int64_t m_shortStretch;
    const int64_t m_window;
    std::vector<int64_t> m_sounded; ///< How much sound the packets before have.
    std::vector<int64_t> m_lag; ///< How far the clock is ahead of that.
    size_t m_settled = 0; ///< The first packet behind the last hole.
};

} // namespace

std::vector<int64_t> soundPositions(std::span<const int64_t> clock, std::span<const int> lengths, int sampleRate)
{
    Placing placing(clock, lengths, sampleRate);
    return clock.empty() || !placing.lengthsFit() ? std::vector<int64_t>() : placing.positions();
}

} // namespace kelmo
