#include "media/ThumbnailGenerator.h"

#include "tests/media/MadeTake.h"
#include "tools/moviemaker/FrameCode.h"

#include <gtest/gtest.h>

namespace kelmo {

namespace {

constexpr double frameMs = 1000 / 30.0;

class ThumbnailGeneratorTest : public testing::Test {
protected:
    /// The number of the picture made for a moment; -1 when it fails, -2 when it cannot be read.
    [[nodiscard]] int number(double ms)
    {
        if (!m_generator)
            m_generator = std::make_unique<ThumbnailGenerator>(m_take.loaded()->screenVideo);
        const Result<QImage> image = m_generator->image(ms);
        if (!image)
            return -1;
        m_size = image->size();
        return readFrameCode(*image).value_or(-2);
    }

    MadeTake m_take;
    std::unique_ptr<ThumbnailGenerator> m_generator;
    QSize m_size;
};

} // namespace

TEST_F(ThumbnailGeneratorTest, keyPictureWithinTheToleranceIsTaken)
{
    m_take.screen.spec.video->gopLength = 15; // Half a second.
    m_take.screen.spec.video->codecOptions.insert(QStringLiteral("sc_threshold"), QStringLiteral("0"));
    m_take.load();
    for (double ms = 0; ms < 9700; ms += 333) {
        const int found = number(ms);
        EXPECT_EQ(found % 15, 0) << ms;
        EXPECT_LE(std::abs(found * frameMs - ms), ThumbnailGenerator::toleranceMs + 1) << ms;
    }
}

TEST_F(ThumbnailGeneratorTest, pictureWithinTheToleranceComesHoweverFarKeyPicturesAre)
{
    m_take.screen.spec.video->gopLength = 300;
    m_take.screen.spec.video->codecOptions.insert(QStringLiteral("sc_threshold"), QStringLiteral("0"));
    m_take.load();
    for (const double ms : {9500.0, 0.0, 4321.0, 4400.0, 1000.0, 9999.0}) {
        const int found = number(ms);
        ASSERT_GE(found, 0);
        EXPECT_LE(std::abs(found * frameMs - ms), ThumbnailGenerator::toleranceMs + 1) << ms;
    }
}

TEST_F(ThumbnailGeneratorTest, stillScreenShowsThePictureOfLongAgo)
{
    m_take.screen.times = {0, 600, 3600, 5400};
    m_take.load();
    EXPECT_EQ(number(5000), 1) << "it has been on show for four seconds";
    EXPECT_EQ(number(6100), 2);
    EXPECT_EQ(number(9500), 3);
    EXPECT_EQ(number(60'000), 3) << "past the end the last one";
}

TEST_F(ThumbnailGeneratorTest, keyPictureIsTheOneThatDecodingStartsAt)
{
    m_take.screen.spec.video->gopLength = 120;
    m_take.screen.spec.video->codecOptions.insert(QStringLiteral("sc_threshold"), QStringLiteral("0"));
    m_take.load();
    ThumbnailGenerator generator(m_take.loaded()->screenVideo);
    for (const auto& [ms, expected] : {std::pair{3500.0, 0}, {7000.0, 120}, {9500.0, 240}}) {
        const std::optional<Thumbnail> key = generator.keyPicture(ms);
        ASSERT_TRUE(key) << ms;
        EXPECT_EQ(readFrameCode(key->picture), expected);
        EXPECT_NEAR(key->ms, expected * frameMs, 0.01);
    }
    EXPECT_FALSE(generator.keyPicture(4000)) << "it is the picture itself";
}

TEST_F(ThumbnailGeneratorTest, pictureIsUprightAndFitsTheLargestSize)
{
    const struct {
        int width;
        int height;
        int rotation;
        QSize expected;
    } cases[] = {
        {640, 360, 0, {220, 124}},
        {180, 320, 90, {220, 124}},
        {640, 480, 180, {166, 124}},
        {160, 90, 0, {160, 90}},
    };
    for (const auto& each : cases) {
        MadeTake made;
        made.screen.spec.video->width = each.width;
        made.screen.spec.video->height = each.height;
        made.screen.spec.video->rotation = each.rotation;
        made.screen.times = steadyTimes(10, 20);
        made.load();
        ThumbnailGenerator generator(made.loaded()->screenVideo);
        const Result<QImage> image = generator.image(0);
        ASSERT_TRUE(image);
        EXPECT_EQ(image->size(), each.expected) << each.width << each.rotation;
    }
}

TEST_F(ThumbnailGeneratorTest, cancelledGeneratorMakesNothingMore)
{
    m_take.load();
    EXPECT_GE(number(1000), 0);
    m_generator->cancel();
    EXPECT_EQ(number(5000), -1);
    m_generator = std::make_unique<ThumbnailGenerator>(m_take.loaded()->screenVideo);
    m_generator->cancel();
    EXPECT_EQ(number(5000), -1) << "before it began, too";
}

} // namespace kelmo
