#include "media/stack/container/SoundClock.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

namespace kelmo {

namespace {

constexpr int rate = 48000;
constexpr int count = 1000;

/// What packet `i` says instead of where it is, and where its sound is to be put; both in milliseconds off the place
/// that it has behind the packets before.
struct Row {
    const char* name;
    std::function<double(int)> clock;
    std::function<double(int)> place;
    double tolerance = 0.6;
    int length = 960; ///< Samples.
};

double never(int) { return 0; }

double late(int i) { return (unsigned(i) * 2654435761U >> 13) % 8; }

std::vector<Row> rows()
{
    return {
        {"exact", never, never},
        {"short early runs, as when block sizes change", [](int i) { return i % 40 >= 30 ? -10 : 0; }, never},
        {"a late run of three seconds", [](int i) { return i >= 300 && i < 450 ? 30 : 0; }, never},
        {"late from the first moments on", [](int i) { return i > 2 ? 10 : 0; }, never},
        {"a hole of one packet", [](int i) { return i >= 300 ? 20 : 0; }, [](int i) { return i >= 300 ? 20 : 0; }},
        {"a hole of a short packet", [](int i) { return i >= 300 ? 3 : 0; }, [](int i) { return i >= 300 ? 3 : 0; },
            0.6, 144},
        {"many holes, one packet each", [](int i) { return i / 10 * 20; }, [](int i) { return i / 10 * 20; }},
        {"a long hole", [](int i) { return i >= 500 ? 7000 : 0; }, [](int i) { return i >= 500 ? 7000 : 0; }},
        {"a long hole that is made up for", [](int i) { return i >= 500 && i < 550 ? 500 : 0; },
            [](int i) { return i >= 500 && i < 550 ? 500 : 0; }},
        {"an overlap for good", [](int i) { return i >= 500 ? -50 : 0; }, [](int i) { return i >= 500 ? -50 : 0; }},
        {"holes between early runs", [](int i) { return (i % 40 >= 30 ? -10 : 0) + (i >= 505 ? 60 : 0); },
            [](int i) { return i >= 505 ? 60 : 0; }},
        {"times of arrival", late, never, 10},
        {"packets that arrive four at a time", [](int i) { return -20 * (i % 4); }, never, 61},
        {"a hole among times of arrival", [](int i) { return late(i) + (i >= 500 ? 200 : 0); },
            [](int i) { return i >= 500 ? 200 : 0; }, 10},
        {"clocks that drift apart by a thousandth", [](int i) { return i * 0.02; }, [](int i) { return i * 0.02; }, 41},
        {"the last packet is late", [](int i) { return i == count - 1 ? 12 : 0; }, never},
    };
}

} // namespace

TEST(SoundClock, positionsFollowTheClockOnlyWhereItChangesForGood)
{
    for (const Row& row : rows()) {
        SCOPED_TRACE(row.name);
        std::vector<int64_t> clock;
        for (int i = 0; i < count; ++i) {
            const double ms = double(i) * row.length * 1000 / rate + row.clock(i);
            clock.push_back(int64_t(std::lround(ms)) * rate / 1000);
        }
        const std::vector<int> lengths(count, row.length);
        const std::vector<int64_t> positions = soundPositions(clock, lengths, rate);
        ASSERT_EQ(positions.size(), size_t(count));
        int breaks = 0;
        for (int i = 0; i < count; ++i) {
            const auto expected = int64_t(i) * row.length + int64_t(row.place(i) * rate / 1000);
            ASSERT_NEAR(double(positions[size_t(i)]), double(expected), row.tolerance * rate / 1000) << "packet " << i;
            breaks += i > 0 && positions[size_t(i)] - positions[size_t(i) - 1] != row.length;
        }
        int holes = 0;
        for (int i = 1; i < count; ++i)
            holes += row.place(i) != row.place(i - 1);
        EXPECT_LE(breaks, holes) << "nothing else breaks the sound";
    }
}

TEST(SoundClock, positionsOfTheFirstSoundAreItsOwnPackets)
{
    // The first packet of such a stream only prepares the second.
    const std::vector<int> lengths{0, 128, 128, 576, 1024, 1024, 1024};
    const std::vector<int64_t> clock{0, 144, 288, 864, 1440, 2496, 3504};
    const std::vector<int64_t> expected{144, 144, 272, 400, 976, 2000, 3024};
    EXPECT_EQ(soundPositions(clock, lengths, rate), expected);
}

TEST(SoundClock, positionsNeedLengthsThatFitTheClock)
{
    std::vector<int64_t> clock;
    for (int i = 0; i < count; ++i)
        clock.push_back(i * 1024);
    EXPECT_TRUE(soundPositions(clock, std::vector<int>(count, 2048), rate).empty());
    EXPECT_TRUE(soundPositions({}, {}, rate).empty());
    EXPECT_EQ(soundPositions(std::vector<int64_t>{5}, std::vector<int>{0}, rate), std::vector<int64_t>{5});
}

} // namespace kelmo
