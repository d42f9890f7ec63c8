#include "media/stack/player/FrameDropPolicy.h"

#include <gtest/gtest.h>

namespace kelmo {

namespace {

constexpr double lateMs = 200;
constexpr double earlyMs = -100;

/// Pictures every 20 ms for a while, all as late as that.
void keepOn(FrameDropPolicy& pace, double late, double& now, double forMs)
{
    for (const double end = now + forMs; now < end; now += 20)
        pace.note(late, now);
}

} // namespace

TEST(FrameDropPolicy, lateForLongLeavesOutMoreInThisOrderAndNoMore)
{
    FrameDropPolicy pace;
    double now = 1000;
    pace.begin(now);
    EXPECT_EQ(pace.dropLevel(1), (FrameDropLevel{1, false, false}));
    const FrameDropLevel order[]{
        {1, true, false}, {2, true, false}, {4, true, false}, {4, true, true}, {4, true, true}};
    for (const FrameDropLevel& expected : order) {
        keepOn(pace, lateMs, now, 430);
        EXPECT_EQ(pace.dropLevel(1), expected);
    }
}

TEST(FrameDropPolicy, inTimeForLongComesBackStepByStep)
{
    FrameDropPolicy pace;
    double now = 0;
    pace.begin(now);
    keepOn(pace, lateMs, now, 1000);
    ASSERT_EQ(pace.dropLevel(1), (FrameDropLevel{2, true, false}));
    keepOn(pace, earlyMs, now, 2900);
    EXPECT_EQ(pace.dropLevel(1), (FrameDropLevel{2, true, false})) << "not at once, or it would sway";
    keepOn(pace, earlyMs, now, 300);
    EXPECT_EQ(pace.dropLevel(1), (FrameDropLevel{1, true, false}));
    keepOn(pace, earlyMs, now, 3100);
    EXPECT_EQ(pace.dropLevel(1), (FrameDropLevel{1, false, false}));
}

TEST(FrameDropPolicy, aJumpIsForgivenItsWait)
{
    FrameDropPolicy pace;
    pace.begin(0);
    pace.begin(10'000);
    pace.note(lateMs, 10'100);
    EXPECT_EQ(pace.dropLevel(1), (FrameDropLevel{1, false, false}));
}

TEST(FrameDropPolicy, fasterRatesShowNoMorePicturesASecond)
{
    const FrameDropPolicy pace;
    EXPECT_EQ(pace.dropLevel(1.5).stride, 1);
    EXPECT_EQ(pace.dropLevel(2).stride, 2);
    EXPECT_EQ(pace.dropLevel(3).stride, 3);
}

} // namespace kelmo
