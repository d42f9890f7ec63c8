#include "views/style/ClockText.h"
#include "views/window/RemainingTime.h"

#include <gtest/gtest.h>

namespace kelmo {

TEST(ClockText, clockCutsOffToWholeSecondsAndGoesOnPastAnHour)
{
    EXPECT_EQ(clock(61'999), QStringLiteral("1:01"));
    EXPECT_EQ(clock(-5), QStringLiteral("0:00"));
    EXPECT_EQ(clock(3'600'000), QStringLiteral("60:00"));
}

TEST(ClockText, summaryTellsWhatIsRemovedOnceItIsWorthTelling)
{
    EXPECT_EQ(Summary::of(600'000, 598'600).text(), QStringLiteral("9:58  −1.4 s"));
    EXPECT_EQ(Summary::of(600'000, 599'960).text(), QStringLiteral("10:00"));
    EXPECT_EQ(Summary::of(600'000, 599'950).text(), QStringLiteral("10:00")) << "exactly 50 ms is not";
    EXPECT_EQ(Summary::of(600'000, 525'000).text(), QStringLiteral("8:45  −1:15"));
    EXPECT_EQ(Summary::of(0, 0).text(), QStringLiteral("0:00"));
}

TEST(RemainingTime, noteGuessesFromThePaceOnceThereIsOne)
{
    RemainingTime remaining;
    EXPECT_EQ(remaining.text(), QString());
    remaining.note(0, 10'000);
    remaining.note(0.5, 10'400);
    EXPECT_EQ(remaining.text(), QString()) << "too early to tell";
    remaining.note(0.25, 20'000);
    EXPECT_EQ(remaining.text(), QString()) << "another one: the old pace says nothing";
    remaining.note(0.5, 30'000);
    EXPECT_EQ(remaining.text(), QStringLiteral("20 s left"));
    remaining.note(0.51, 200'000);
    EXPECT_EQ(remaining.text(), QStringLiteral("5:39 left"));
}

} // namespace kelmo
