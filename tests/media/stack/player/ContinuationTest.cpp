#include "media/stack/player/Continuation.h"

#include <gtest/gtest.h>

namespace kelmo {

namespace {

using Pieces = std::vector<std::pair<int, int>>;

constexpr MediaTime tolerance{100'000};

class ContinuationTest : public testing::Test {
protected:
    /// An edit of pieces [from, to) in ms; the sound of the pieces may start later than their picture.
    [[nodiscard]] PlayerItem item(const Pieces& pieces, int soundLateMs = 0) const
    {
        auto composition = std::make_shared<Composition>();
        composition->screen.track = &m_screen;
        composition->audio.resize(1);
        composition->audio[0].track = &m_sound;
        for (const auto& [from, to] : pieces) {
            const TimeRange range{MediaTime::fromMs(from), MediaTime::fromMs(to - from)};
            const MediaTime late = MediaTime::fromMs(soundLateMs);
            composition->screen.insert(range, composition->duration);
            composition->audio[0].insert({range.start + late, range.duration - late}, composition->duration + late);
            composition->duration += range.duration;
        }
        PlayerItem item;
        item.composition = composition;
        item.width = 320;
        item.height = 180;
        return item;
    }

    Track m_screen;
    Track m_sound;
};

std::optional<Continuation> find(const PlayerItem& before, int atMs, const PlayerItem& after, int afterAtMs)
{
    return Continuation::find(before, MediaTime::fromMs(atMs), after, MediaTime::fromMs(afterAtMs), tolerance);
}

} // namespace

TEST_F(ContinuationTest, editElsewhereGoesOnUntilTheyPart)
{
    struct Case {
        const char* what;
        Pieces before;
        int atMs;
        Pieces after;
        int afterAtMs;
        int shiftMs;
        int untilMs;
    };
    const Case cases[]{
        {"the same again", {{0, 5000}}, 1000, {{0, 5000}}, 1000, 0, 5000},
        {"a cut ahead", {{0, 5000}}, 1000, {{0, 2000}, {3000, 5000}}, 1000, 0, 2000},
        {"a cut behind", {{0, 5000}}, 3000, {{0, 1000}, {2000, 5000}}, 2000, -1000, 5000},
        {"a cut undone behind", {{0, 1000}, {2000, 5000}}, 2000, {{0, 5000}}, 3000, 1000, 4000},
        {"a cut undone ahead", {{0, 2000}, {3000, 5000}}, 1000, {{0, 5000}}, 1000, 0, 2000},
        {"joins in common", {{0, 1000}, {2000, 3000}, {4000, 5000}, {6000, 9000}}, 500,
            {{0, 1000}, {2000, 3000}, {4000, 5000}, {7000, 9000}}, 500, 0, 3000},
        {"the end cut off", {{0, 5000}}, 1000, {{0, 4000}}, 1000, 0, 4000},
        {"the playhead a little behind", {{0, 5000}}, 3000, {{0, 1000}, {2000, 5000}}, 1967, -1000, 5000},
    };
    for (const Case& each : cases) {
        const std::optional<Continuation> found = find(item(each.before), each.atMs, item(each.after), each.afterAtMs);
        ASSERT_TRUE(found) << each.what;
        EXPECT_EQ(found->shift.ms(), each.shiftMs) << each.what;
        EXPECT_EQ(found->soundShift, each.shiftMs * 48) << each.what;
        EXPECT_EQ(found->until.ms(), each.untilMs) << each.what;
    }
}

TEST_F(ContinuationTest, whatPlaysIsGoneOrAnotherPlaceIsWantedNothingGoesOn)
{
    const PlayerItem whole = item({{0, 5000}});
    EXPECT_FALSE(find(whole, 1500, item({{0, 1000}, {2000, 5000}}), 1000)) << "the moment was cut away";
    EXPECT_FALSE(find(whole, 1000, whole, 3000)) << "a jump";
    EXPECT_FALSE(find(whole, 4900, whole, 5000)) << "the end";
}

TEST_F(ContinuationTest, picturesOfAnotherFormNothingGoesOn)
{
    const PlayerItem before = item({{0, 5000}});
    PlayerItem after = item({{0, 5000}});
    after.width = 640;
    EXPECT_FALSE(find(before, 1000, after, 1000));
    const Track other;
    after = item({{0, 5000}});
    auto composition = std::make_shared<Composition>(*after.composition);
    composition->screen.track = &other;
    after.composition = composition;
    EXPECT_FALSE(find(before, 1000, after, 1000));
}

TEST_F(ContinuationTest, gapsOfASoundTrackCountToo)
{
    const PlayerItem before = item({{0, 5000}}, 500);
    const std::optional<Continuation> found = find(before, 200, item({{0, 5000}}, 700), 200);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->until.ms(), 500) << "from there on the one sounds and the other is silent";
    EXPECT_EQ(find(before, 200, item({{0, 5000}}, 500), 200)->until.ms(), 5000);
}

} // namespace kelmo
