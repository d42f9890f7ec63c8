#include "model/Cuts.h"
#include "model/EditOps.h"
#include "model/Timeline.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

using namespace kelmo;

namespace {

constexpr double durationMs = 20'000;

// Whole milliseconds, so that every sum below is exact; many seeds, so that ranges touch, nest and repeat.
class RandomEdit {
public:
    explicit RandomEdit(unsigned seed)
        : m_engine(seed)
    {
    }

    double time() { return std::uniform_int_distribution<int>(-200, static_cast<int>(durationMs) + 200)(m_engine); }
    bool oneIn(int n) { return std::uniform_int_distribution<int>(1, n)(m_engine) == 1; }

    Span range()
    {
        const double start = time();
        return {start, start + std::uniform_int_distribution<int>(-50, 900)(m_engine)};
    }

    Cuts cuts()
    {
        Cuts cuts;
        for (int i = 0; i < 40; ++i) {
            if (oneIn(4))
                cuts.subtract({range(), range()});
            else
                cuts.add({range(), range()});
        }
        if (oneIn(2))
            cuts.trimIn = time() / 8;
        if (oneIn(2))
            cuts.trimOut = durationMs - time() / 8;
        cuts.refresh();
        return cuts;
    }

private:
    std::mt19937 m_engine;
};

double editedByScan(const Timeline& timeline, double source)
{
    for (size_t i = 0; i < timeline.keep.size(); ++i) {
        if (timeline.keep[i].start > source)
            return timeline.starts[i];
        if (timeline.keep[i].end > source)
            return timeline.starts[i] + (source - timeline.keep[i].start);
    }
    return timeline.durationMs;
}

double sourceByScan(const Timeline& timeline, double edited)
{
    for (size_t i = 0; i < timeline.keep.size(); ++i) {
        const double length = std::max(0.0, timeline.keep[i].end - timeline.keep[i].start);
        if (timeline.starts[i] + length > edited)
            return timeline.keep[i].start + std::max(0.0, edited - timeline.starts[i]);
    }
    return timeline.keep.empty() ? 0 : timeline.keep.back().end;
}

bool isCutByScan(const Word& word, const std::vector<Span>& spans)
{
    double sum = 0;
    for (const Span& span : spans) {
        if (word.endMs <= word.startMs && span.start <= word.startMs && word.startMs < span.end)
            return true;
        sum += std::max(0.0, std::min(span.end, word.endMs) - std::max(span.start, word.startMs));
    }
    return word.endMs > word.startMs && sum > (word.endMs - word.startMs) / 2;
}

bool contains(const std::vector<Span>& spans, double ms)
{
    return std::any_of(spans.begin(), spans.end(), [ms](const Span& s) { return s.start <= ms && ms < s.end; });
}

} // namespace

TEST(EditModelProperty, cutsStayNormalisedAfterAnyEdit)
{
    for (unsigned seed = 0; seed < 200; ++seed) {
        const Cuts cuts = RandomEdit(seed).cuts();
        for (const std::vector<Span>* spans : {&cuts.spans, &cuts.effective}) {
            EXPECT_EQ(*spans, Cuts::normalize(*spans)) << seed;
            EXPECT_TRUE(std::none_of(spans->begin(), spans->end(), [](const Span& s) { return s.isEmpty(); })) << seed;
        }
    }
}

TEST(EditModelProperty, keepIsTheComplementButForSlivers)
{
    for (unsigned seed = 0; seed < 200; ++seed) {
        const Cuts cuts = RandomEdit(seed).cuts();
        const std::vector<Span> keep = cuts.keep(durationMs);
        for (double ms = 0; ms < durationMs; ms += 7) {
            const bool kept = contains(keep, ms);
            const bool cut = contains(cuts.effective, ms);
            const bool inSliver = ms < 20 || ms >= durationMs - 20 || contains(cuts.effective, ms - 20)
                || contains(cuts.effective, ms + 20);
            EXPECT_TRUE(kept != cut || (!kept && inSliver)) << seed << " " << ms;
        }
        for (size_t i = 0; i < keep.size(); ++i) {
            EXPECT_GE(keep[i].end - keep[i].start, 20);
            EXPECT_TRUE(i == 0 || keep[i - 1].end < keep[i].start);
        }
    }
}

TEST(EditModelProperty, timelineMapsLikeALinearScanAndBack)
{
    for (unsigned seed = 0; seed < 200; ++seed) {
        RandomEdit random(seed);
        const Timeline timeline(random.cuts().keep(durationMs));
        for (int i = 0; i < 300; ++i) {
            const double ms = random.time() + (i % 2) * 0.5;
            EXPECT_EQ(timeline.edited(ms), editedByScan(timeline, ms)) << seed << " " << ms;
            EXPECT_EQ(timeline.source(ms), sourceByScan(timeline, ms)) << seed << " " << ms;
            EXPECT_TRUE(!contains(timeline.keep, ms) || timeline.source(timeline.edited(ms)) == ms)
                << seed << " " << ms;
        }
        for (size_t i = 0; i < timeline.keep.size(); ++i) {
            EXPECT_EQ(timeline.source(timeline.starts[i]), timeline.keep[i].start);
            EXPECT_EQ(timeline.edited(timeline.keep[i].end),
                i + 1 < timeline.keep.size() ? timeline.starts[i + 1] : timeline.durationMs);
        }
    }
}

TEST(EditModelProperty, isCutEqualsTheSumOverAllSpans)
{
    for (unsigned seed = 0; seed < 200; ++seed) {
        RandomEdit random(seed);
        const Cuts cuts = random.cuts();
        for (int i = 0; i < 300; ++i) {
            const Span range = random.range();
            const Word word{QString(), range.start, random.oneIn(5) ? range.start : range.end, std::nullopt};
            EXPECT_EQ(EditOps::isCut(word, cuts.effective), isCutByScan(word, cuts.effective))
                << seed << " " << word.startMs << "-" << word.endMs;
        }
    }
}

TEST(EditModelProperty, spanOfAnyWordsIsAtLeastTenMsInWholeMs)
{
    for (unsigned seed = 0; seed < 200; ++seed) {
        RandomEdit random(seed);
        std::vector<Word> words;
        for (int i = 0; i < 30; ++i) {
            const double start = std::abs(random.time()) + 0.3;
            words.push_back({QString(), start, start + std::abs(random.time()) / 40, std::nullopt});
        }
        std::sort(words.begin(), words.end(), [](const Word& a, const Word& b) { return a.startMs < b.startMs; });
        for (int lo = 0; lo < 30; ++lo) {
            for (const int hi : {lo, (lo + 29) / 2, 29}) {
                const Span span = EditOps::span(words, lo, hi, durationMs + 1000);
                EXPECT_GE(span.end - span.start, 10) << seed << " " << lo << "-" << hi;
                EXPECT_EQ(span.start, std::trunc(span.start));
                EXPECT_EQ(span.end, std::trunc(span.end));
            }
        }
    }
}
