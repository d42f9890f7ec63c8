#include "media/stack/container/SampleIndex.h"

#include <algorithm>
#include <numeric>

namespace kelmo {

namespace {

/// Finds where to enter so that a sample comes out whole.
class EntryPoints {
public:
    explicit EntryPoints(const std::vector<Sample>& samples)
        : m_samples(samples)
    {
        for (size_t i = 0; i < samples.size(); ++i) {
            if (samples[i].key)
                m_keys.push_back(int32_t(i));
        }
    }

    /// A picture that is decoded after a key but shown before it (a leading picture of an open group) may refer to what
    /// came before that key, so it is entered from the one before. Quick when asked for one sample after another.
    int32_t of(int32_t sample)
    {
        if (m_samples[size_t(sample)].key)
            return sample;
        if (m_next > 0 && m_keys[m_next - 1] > sample)
            m_next = size_t(std::upper_bound(m_keys.begin(), m_keys.end(), sample) - m_keys.begin());
        while (m_next < m_keys.size() && m_keys[m_next] <= sample)
            ++m_next;
        for (size_t i = m_next; i > 0; --i) {
            if (m_samples[size_t(m_keys[i - 1])].pts <= m_samples[size_t(sample)].pts)
                return m_keys[i - 1];
        }
        return 0;
    }

private:
    const std::vector<Sample>& m_samples;
    std::vector<int32_t> m_keys;
    size_t m_next = 0; ///< The first key after the sample that was asked for last.
};

std::vector<int32_t> inDisplayOrder(const std::vector<Sample>& samples)
{
    std::vector<int32_t> order;
    order.reserve(samples.size());
    bool inOrder = true;
    for (size_t i = 0; i < samples.size(); ++i) {
        // Recorders write empty samples for frames that they dropped; what was shown before them stays.
        if (samples[i].size <= 0)
            continue;
        inOrder = inOrder && (order.empty() || samples[size_t(order.back())].pts < samples[i].pts);
        order.push_back(int32_t(i));
    }
    if (inOrder)
        return order;
    std::stable_sort(order.begin(), order.end(),
        [&](int32_t a, int32_t b) { return samples[size_t(a)].pts < samples[size_t(b)].pts; });
    const auto last = std::unique(order.begin(), order.end(),
        [&](int32_t a, int32_t b) { return samples[size_t(a)].pts == samples[size_t(b)].pts; });
    order.erase(last, order.end());
    return order;
}

} // namespace

SampleIndex::SampleIndex(std::vector<Sample> samples, std::vector<EditSegment> edits, Ratio timeBase,
    int64_t lastDuration, int64_t heldUntil)
    : m_samples(std::move(samples))
    , m_edits(std::move(edits))
    , m_timeBase(timeBase)
{
    present(lastDuration);
    if (!m_frames.empty())
        m_presentEnd = std::max(m_presentEnd, heldUntil);
    findReorderDepth();
}

void SampleIndex::present(int64_t lastDuration)
{
    const std::vector<int32_t> order = inDisplayOrder(m_samples);
    if (order.empty())
        return;
    EntryPoints entries(m_samples);
    const int64_t first = m_samples[size_t(order.front())].pts;
    const int64_t last = m_samples[size_t(order.back())].pts;
    if (lastDuration <= 0)
        lastDuration = order.size() > 1 ? std::max<int64_t>(1, (last - first) / int64_t(order.size() - 1)) : 1;
    const int64_t mediaEnd = last + std::min(lastDuration, INT64_MAX / 8);
    if (m_edits.empty())
        m_edits.push_back({first, first, mediaEnd - first});

    m_frames.reserve(order.size());
    for (EditSegment& edit : m_edits) {
        edit.duration = std::min(edit.duration, mediaEnd - edit.mediaStart);
        // Only a damaged list presents everything again and again; it must not eat the memory.
        if (edit.duration <= 0 || m_frames.size() > 8 * order.size())
            continue;
        // The first entry is the one that is on show when the segment starts, even when it began before.
        auto from = std::upper_bound(order.begin(), order.end(), edit.mediaStart,
            [&](int64_t time, int32_t sample) { return time < m_samples[size_t(sample)].pts; });
        if (from != order.begin())
            --from;
        for (; from != order.end() && m_samples[size_t(*from)].pts < edit.mediaStart + edit.duration; ++from) {
            const int64_t shift = std::max<int64_t>(0, m_samples[size_t(*from)].pts - edit.mediaStart);
            m_frames.push_back({edit.presentStart + shift, *from, entries.of(*from)});
        }
        m_presentEnd = std::max(m_presentEnd, edit.presentStart + edit.duration);
    }
}

void SampleIndex::findReorderDepth()
{
    // No codec here holds back more than 16 pictures, so looking a few more back is enough.
    constexpr size_t window = 24;
    if (std::is_sorted(
            m_samples.begin(), m_samples.end(), [](const Sample& a, const Sample& b) { return a.pts < b.pts; }))
        return;
    for (size_t i = 0; i < m_samples.size(); ++i) {
        int later = 0;
        for (size_t j = i > window ? i - window : 0; j < i; ++j)
            later += m_samples[j].pts > m_samples[i].pts;
        m_reorderDepth = std::max(m_reorderDepth, later);
    }
    m_reorderDepth = std::min(m_reorderDepth, 16);
}

int64_t SampleIndex::presentStart() const { return m_frames.empty() ? 0 : m_frames.front().present; }

TimeRange SampleIndex::range() const
{
    const MediaTime start = fromTicks(presentStart(), m_timeBase);
    return {start, fromTicks(m_presentEnd, m_timeBase) - start};
}

std::optional<int> SampleIndex::frameAt(ExactTime time) const
{
    const int next = frameAfter(time);
    return next > 0 ? std::optional(next - 1) : std::nullopt;
}

int SampleIndex::frameAfter(ExactTime time) const
{
    const int64_t ticks = time.ticksFloor(m_timeBase);
    const auto next = std::upper_bound(m_frames.begin(), m_frames.end(), ticks,
        [](int64_t at, const PresentedFrame& display) { return at < display.present; });
    return int(next - m_frames.begin());
}

} // namespace kelmo
