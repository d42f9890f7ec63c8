#include "media/ExportPlan.h"

#include <gtest/gtest.h>

namespace kelmo {

namespace {

/// Frames at these times (ms), numbered from 0.
std::vector<PlannedFrame> at(const std::vector<double>& times)
{
    std::vector<PlannedFrame> frames;
    for (size_t i = 0; i < times.size(); ++i)
        frames.push_back({.pts = std::llround(times[i] * 90), .screen = int(i)});
    return frames;
}

std::vector<std::pair<double, int>> capped(const std::vector<double>& times, int fps, double endMs)
{
    std::vector<std::pair<double, int>> shown;
    for (const PlannedFrame& frame : ExportPlan::capped(at(times), fps, MediaTime::fromMs(endMs)))
        shown.emplace_back(std::round(double(frame.pts) / 9) / 10, frame.screen);
    return shown;
}

using Shown = std::vector<std::pair<double, int>>;

} // namespace

TEST(ExportPlan, cappedSixtyAtThirtyKeepsEverySecond)
{
    std::vector<double> steady;
    std::vector<double> jittery;
    for (int i = 0; i < 600; ++i) {
        steady.push_back(i * 1000.0 / 60);
        jittery.push_back(i * 1000.0 / 60 + (i % 7) * 0.1 - 0.3 * (i % 2 && i > 1));
    }
    for (const std::vector<double>& times : {steady, jittery}) {
        const Shown shown = capped(times, 30, 10'000);
        ASSERT_EQ(shown.size(), 300U);
        for (size_t i = 0; i < shown.size(); ++i)
            ASSERT_EQ(shown[i].second, int(2 * i));
    }
    EXPECT_EQ(capped(steady, 60, 10'000).size(), 600U) << "nothing to cap";
}

TEST(ExportPlan, cappedDropsOnlyWhatFollowsTooSoon)
{
    // 1000/30 less 1 ms is 32.3 ms.
    EXPECT_EQ(capped({0, 32.2, 40}, 30, 60), (Shown{{0, 0}, {40, 2}}));
    EXPECT_EQ(capped({0, 32.4, 40}, 30, 60), (Shown{{0, 0}, {32.4, 1}}));
}

TEST(ExportPlan, cappedShowsWhatWasDroppedWhenNothingFollows)
{
    // A key press 10 ms after the pointer moved must not stay unseen for the whole pause after it.
    EXPECT_EQ(capped({0, 5, 10, 2000}, 30, 3000), (Shown{{0, 0}, {33.3, 2}, {2000, 3}}));
    EXPECT_EQ(capped({0, 500, 510}, 30, 900), (Shown{{0, 0}, {500, 1}, {533.3, 2}})) << "at the end, too";
    EXPECT_EQ(capped({0, 500, 510}, 30, 540), (Shown{{0, 0}, {500, 1}})) << "but not for a blink";
    EXPECT_EQ(capped({0, 10, 50}, 30, 100), (Shown{{0, 0}, {50, 2}})) << "the next one is soon enough";
}

TEST(ExportPlan, withKeyFramesPutsOneInEveryTwoSecondsWhateverTheTimes)
{
    const std::vector<std::vector<double>> cases
        = {{0}, {0, 5000}, {0, 1999, 2001, 4500, 9000}, {0, 100, 200, 1900, 3900, 3950, 7000}, {0, 2000, 4000, 6000}};
    for (const std::vector<double>& times : cases) {
        const std::vector<PlannedFrame> plan = ExportPlan::withKeyFrames(at(times), MediaTime::fromMs(10'000));
        ASSERT_TRUE(plan.front().key);
        int64_t lastKey = 0;
        int64_t last = -1;
        int shown = 0;
        for (const PlannedFrame& frame : plan) {
            ASSERT_GT(frame.pts, last) << "times must grow";
            last = frame.pts;
            ASSERT_LE(frame.pts - lastKey, VideoEncoder::keyInterval);
            lastKey = frame.key ? frame.pts : lastKey;
            // What is shown is the newest frame there is: a repeated one comes before its successor.
            while (shown + 1 < int(times.size()) && times[size_t(shown) + 1] * 90 <= double(frame.pts))
                ++shown;
            ASSERT_EQ(frame.screen, shown);
        }
        ASSERT_LE(900'000 - lastKey, VideoEncoder::keyInterval);
    }
    // No more keys than it takes.
    std::vector<double> steady;
    for (int i = 0; i < 300; ++i)
        steady.push_back(i * 1000.0 / 30);
    int keys = 0;
    for (const PlannedFrame& frame : ExportPlan::withKeyFrames(at(steady), MediaTime::fromMs(10'000)))
        keys += frame.key;
    EXPECT_LE(keys, 6);
}

} // namespace kelmo
