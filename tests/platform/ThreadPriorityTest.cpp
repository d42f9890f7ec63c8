#include "platform/ThreadPriority.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <thread>

namespace kelmo {

namespace {

int niceness() { return getpriority(PRIO_PROCESS, 0); }

} // namespace

TEST(ThreadPriority, reachesTheThreadAndThoseItStartsAndNobodyElse)
{
    const int before = niceness();
    int lowered = before;
    int inherited = before;
    std::thread([&] {
        lowerThreadPriority(ThreadPriority::BelowUi);
        lowered = niceness();
        std::thread([&] { inherited = niceness(); }).join();
    }).join();
    EXPECT_GT(lowered, before);
    EXPECT_EQ(inherited, lowered);
    EXPECT_EQ(niceness(), before);
}

} // namespace kelmo
