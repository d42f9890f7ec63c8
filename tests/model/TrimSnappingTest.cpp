#include "model/TrimSnapping.h"

#include "model/EditOps.h"

#include <gtest/gtest.h>

using namespace kelmo;

namespace {

std::vector<Word> words()
{
    return {{QStringLiteral("a"), 1000, 1400, {}}, {QStringLiteral("b"), 3000, 4600, {}},
        {QStringLiteral("c"), 6000, 6400, {}}};
}

constexpr double durationMs = 10000;

} // namespace

TEST(TrimSnapping, snapInMovesToTheNearestBoundaryWithinReach)
{
    const double beforeB = EditOps::trimInBefore(1, words(), durationMs);
    const double beforeC = EditOps::trimInBefore(2, words(), durationMs);
    const struct {
        double asked;
        double snapped;
    } cases[] = {
        {100, 0},
        {250, 0},
        {250.5, 250.5},
        {400, 400},
        {599, 599},
        {600, 850},
        {1100, 850},
        {1101, 850},
        {beforeB + 250, beforeB},
        {3050, beforeB},
        {4500, beforeC},
        {beforeC - 251, beforeC - 251},
        {9000, 9000},
    };
    for (const auto& each : cases)
        EXPECT_EQ(TrimSnapping::snapIn(each.asked, words(), durationMs), each.snapped) << each.asked;
    EXPECT_EQ(TrimSnapping::snapIn(123, {}, durationMs), 123);
}

TEST(TrimSnapping, snapOutMovesToTheNearestBoundaryWithinReach)
{
    const double afterA = EditOps::trimOutAfter(0, words(), durationMs);
    const double afterB = EditOps::trimOutAfter(1, words(), durationMs);
    const struct {
        double asked;
        double snapped;
    } cases[] = {
        {9800, durationMs},
        {9700, 9700},
        {6800, 6550},
        {6801, 6801},
        {6399, 6550},
        {3010, afterA},
        {4599, afterB},
        {afterA - 250, afterA},
        {500, 500},
    };
    for (const auto& each : cases)
        EXPECT_EQ(TrimSnapping::snapOut(each.asked, words(), durationMs), each.snapped) << each.asked;
    EXPECT_EQ(TrimSnapping::snapOut(123, {}, durationMs), 123);
}
