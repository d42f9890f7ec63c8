#include "diagnostics/FrameLog.h"

#include <gtest/gtest.h>

namespace kelmo {

TEST(FrameLog, addGapsOverAHundredMsAreFreezes)
{
    FrameLog frames;
    for (const double ms : {40.0, 73.0, 173.0, 273.5, 300.0})
        frames.add(ms);
    EXPECT_EQ(frames.count(), 5);
    EXPECT_EQ(frames.firstMs(), 40);
    EXPECT_EQ(frames.maxGapMs(), 100.5);
    EXPECT_EQ(frames.freezes(), QStringList{QStringLiteral("173+101")}) << "exactly 100 ms is none";
}

} // namespace kelmo
