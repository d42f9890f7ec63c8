#include "views/timeline/TimelineGeometry.h"

#include <gtest/gtest.h>

namespace kelmo {

TEST(TimelineGeometry, timesLieEvenlyOnTheEditWithoutItsTrim)
{
    const Timeline full({{0, 2000}, {6000, 14'000}}); // Ten seconds are left.
    const TimelineGeometry places(full, 1032);
    EXPECT_EQ(places.trackWidth(), 1000);
    EXPECT_EQ(places.msPerPoint(), 10);
    const struct {
        double ms;
        double x;
        double back;
    } cases[] = {{0, 0, 0}, {1000, 100, 1000}, {3000, 200, 6000}, {6000, 200, 6000}, {10'000, 600, 10'000},
        {14'000, 1000, 14'000}, {20'000, 1000, 14'000}};
    for (const auto& each : cases) {
        EXPECT_DOUBLE_EQ(places.x(each.ms), each.x);
        EXPECT_DOUBLE_EQ(places.toSource(each.x), each.back);
    }
    EXPECT_EQ(places.toSource(-50), 0);
    EXPECT_EQ(places.toSource(5000), 14'000);
}

TEST(TimelineGeometry, tilesAreAsManyAsFitAndAtLeastOne)
{
    const Timeline full({{0, 10'000}});
    const auto times = [&](double viewWidth) { return TimelineGeometry(full, viewWidth).tileTimes(); };
    EXPECT_EQ(times(32 + 20), std::vector<double>{5000}) << "narrower than a tile";
    EXPECT_EQ(times(32 + 163).size(), 1U);
    EXPECT_EQ(times(32 + 164), (std::vector<double>{2500, 7500}));
    EXPECT_EQ(times(5), std::vector<double>{5000}) << "no room at all";
    EXPECT_EQ(TimelineGeometry(full, 5).trackWidth(), 1);
}

TEST(TimelineGeometry, emptyEditMapsToTheStart)
{
    const Timeline none;
    EXPECT_EQ(TimelineGeometry(none, 500).x(1234), 0);
    EXPECT_EQ(TimelineGeometry(none, 500).toSource(100), 0);
}

} // namespace kelmo
