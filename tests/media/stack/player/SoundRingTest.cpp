#include "media/stack/player/SoundRing.h"

#include <gtest/gtest.h>

#include <numeric>

namespace kelmo {

namespace {

/// A ring whose sound says at every frame where on the epoch's clock it belongs.
class SoundRingTest : public testing::Test {
protected:
    void SetUp() override
    {
        m_ring.begin(1, {});
        m_ring.activate(m_feed);
        m_ring.setRunning(true);
    }

    void push(int from, int count, int revision = 0)
    {
        std::vector<float> samples(size_t(count) * 2);
        for (int i = 0; i < count; ++i)
            samples[size_t(i) * 2] = samples[size_t(i) * 2 + 1] = float(from + i);
        ASSERT_TRUE(m_ring.push(1, revision, {samples, double(from), 1}));
    }

    /// The left channel of the next frames.
    std::vector<float> pull(int frames)
    {
        std::vector<float> sound(size_t(frames) * 2);
        m_ring.pull(*m_feed, sound.data(), frames);
        std::vector<float> left;
        for (size_t i = 0; i < sound.size(); i += 2)
            left.push_back(sound[i]);
        return left;
    }

    static std::vector<float> counted(int from, int count)
    {
        std::vector<float> expected(static_cast<size_t>(count));
        std::iota(expected.begin(), expected.end(), float(from));
        return expected;
    }

    double positionMs() { return m_ring.position(*m_feed, m_ring.givenTo(*m_feed)).ms(); }

    SoundRing m_ring;
    std::shared_ptr<SoundRing::Feed> m_feed = std::make_shared<SoundRing::Feed>();
};

} // namespace

TEST_F(SoundRingTest, carryOnKeepsWhatHoldsAndMovesThePosition)
{
    push(0, 4800);
    EXPECT_EQ(pull(480), counted(0, 480));
    EXPECT_EQ(positionMs(), 10);
    const std::optional<SoundRing::Carried> carried = m_ring.carryOn(96'000, 960);
    ASSERT_TRUE(carried);
    EXPECT_EQ(carried->shift, 96'000);
    EXPECT_EQ(positionMs(), 2010) << "the same moment of the source, on the new clock";

    push(4800, 480); // What the mixer was at, which no longer belongs there.
    const SoundRing::Held held = m_ring.takeUp(1, carried->revision);
    EXPECT_EQ(held.end, 960);
    EXPECT_EQ(held.valid, 960);
    push(960, 480, carried->revision);
    EXPECT_EQ(pull(960), counted(480, 960)) << "without a break";
    EXPECT_EQ(positionMs(), 2030);
}

TEST_F(SoundRingTest, carryOnTwiceBeforeTheMixerNoticesKeepsOnlyWhatBothHave)
{
    push(0, 4800);
    const std::optional<SoundRing::Carried> first = m_ring.carryOn(1000, 2400);
    const std::optional<SoundRing::Carried> second = m_ring.carryOn(500, 1000 + 4000);
    ASSERT_TRUE(first && second);
    EXPECT_EQ(second->shift, 1500);
    const SoundRing::Held held = m_ring.takeUp(1, second->revision);
    EXPECT_EQ(held.end, 2400);
    push(2400, 100, second->revision);
    EXPECT_EQ(pull(2500), counted(0, 2500));
}

TEST_F(SoundRingTest, carryOnAfterTheDeviceHasLaterSoundIsRefused)
{
    push(0, 4800);
    (void)pull(2000);
    EXPECT_FALSE(m_ring.carryOn(0, 1999));
    EXPECT_TRUE(m_ring.carryOn(0, 2000));
}

TEST_F(SoundRingTest, finishOfAnOlderRevisionDoesNotEndTheNewOne)
{
    push(0, 480);
    (void)pull(480);
    const std::optional<SoundRing::Carried> carried = m_ring.carryOn(0, 48'000);
    ASSERT_TRUE(carried);
    m_ring.finish(1, 0);
    EXPECT_FALSE(m_ring.hasEnded(*m_feed, 48'000));
    m_ring.finish(1, carried->revision);
    EXPECT_TRUE(m_ring.hasEnded(*m_feed, 48'000));
}

TEST_F(SoundRingTest, stopInTheMiddleFadesAndStaysThere)
{
    std::vector<float> loud(9600, 1.0f);
    ASSERT_TRUE(m_ring.push(1, 0, {loud, 0, 1}));
    EXPECT_EQ(pull(100).back(), 1.0f);
    m_ring.setRunning(false);
    const std::vector<float> after = pull(480);
    for (size_t i = 1; i < after.size(); ++i)
        ASSERT_LE(std::abs(after[i] - after[i - 1]), 0.01f) << "a click at " << i;
    EXPECT_EQ(after.back(), 0.0f);
    EXPECT_LE(std::abs(after.front() - 1.0f), 0.01f);
}

} // namespace kelmo
