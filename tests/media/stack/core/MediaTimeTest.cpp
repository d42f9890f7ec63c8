#include "media/stack/core/MediaTime.h"

#include <gtest/gtest.h>

namespace kelmo {

TEST(MediaTime, fromMsFractionsAreDropped)
{
    EXPECT_EQ(MediaTime::fromMs(1.9999).us, 1999);
    EXPECT_EQ(MediaTime::fromMs(-1.9999).us, -1999);
    EXPECT_EQ(MediaTime::fromMs(std::numeric_limits<double>::quiet_NaN()).us, 0);
    EXPECT_GT(MediaTime::fromMs(std::numeric_limits<double>::infinity()).us, 0);
}

TEST(MediaTime, ticksFloorThirdsStayExact)
{
    // Frame k of 60 a second lies exactly on a tick of 1/600, and just beside one of a microsecond clock.
    for (int64_t k = 0; k < 1'000'000; k += 997) {
        const ExactTime time = ExactTime::gridStep(k, 60);
        EXPECT_EQ(time.ticksFloor({1, 600}), k * 10);
        EXPECT_EQ(time.ticksNearest({1, 90000}), k * 1500);
        EXPECT_EQ(time.movedBy({0}).ticksFloor({1, 600}), k * 10);
        // A microsecond before it, the tick before is on show.
        EXPECT_EQ(time.movedBy({-1}).ticksFloor({1, 600}), k * 10 - 1);
    }
    EXPECT_EQ(ExactTime::of({-1}).ticksFloor({1, 600}), -1);
}

TEST(MediaTime, scaledHalvesGoAwayFromZero)
{
    EXPECT_EQ(scaled(1, 1, 2), 1);
    EXPECT_EQ(scaled(-1, 1, 2), -1);
    EXPECT_EQ(scaled(INT64_MAX / 10, 400, 400), INT64_MAX / 10);
    // What a damaged table claims is held where sums still fit.
    EXPECT_EQ(scaled(INT64_MAX, INT64_MAX, 1), INT64_MAX / 8);
    EXPECT_EQ(scaled(INT64_MIN, INT64_MAX, 1), -(INT64_MAX / 8));
    EXPECT_EQ(ExactTime({INT64_MIN, 1}).ticksFloor({1, 1000}), -(INT64_MAX / 8));
    EXPECT_EQ(fromTicks(1001, {1, 30000}).us, 33367);
}

} // namespace kelmo
