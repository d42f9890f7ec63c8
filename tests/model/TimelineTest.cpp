#include "model/Timeline.h"

#include <gtest/gtest.h>

using namespace kelmo;

TEST(Timeline, mapTwoKeptRangesGivesExactTimes)
{
    const Timeline timeline({{1000, 2000}, {3000, 5000}});
    EXPECT_EQ(timeline.durationMs, 3000);
    EXPECT_EQ(timeline.starts, (std::vector<double>{0, 1000}));
    const double toEdited[][2] = {{500, 0}, {1000, 0}, {1500, 500}, {2000, 1000}, {2500, 1000}, {3000, 1000},
        {4999, 2999}, {5000, 3000}, {6000, 3000}};
    for (const auto& [source, edited] : toEdited)
        EXPECT_EQ(timeline.edited(source), edited) << source;
    const double toSource[][2]
        = {{-5, 1000}, {0, 1000}, {999, 1999}, {1000, 3000}, {2999, 4999}, {3000, 5000}, {9e9, 5000}};
    for (const auto& [edited, source] : toSource)
        EXPECT_EQ(timeline.source(edited), source) << edited;
}

TEST(Timeline, mapEmptyTimelineGivesZero)
{
    const Timeline timeline;
    EXPECT_EQ(timeline, Timeline(std::vector<Span>()));
    for (const double time : {-1.0, 0.0, 1e12}) {
        EXPECT_EQ(timeline.edited(time), 0);
        EXPECT_EQ(timeline.source(time), 0);
    }
}
