#include "tests/tools/MediaCommands.h"
#include "tools/moviemaker/FrameCode.h"
#include "tools/moviemaker/MovieMaker.h"
#include "tools/moviemaker/SoundCode.h"

#include <QRandomGenerator>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace kelmo::test {

namespace {

constexpr int kWindow = 4096;

/// `seconds` of the code through a codec and back: one channel, from the track's start.
std::vector<float> throughCodec(const QString& folder, AudioSpec audio, double seconds)
{
    audio.channels = 1;
    MovieSpec spec;
    spec.path = folder + QStringLiteral("/sound.mov");
    spec.audio = {audio};
    auto maker = MovieMaker::create(spec);
    EXPECT_TRUE(maker);
    const auto count = static_cast<int>(seconds * audio.sampleRate);
    EXPECT_TRUE(maker->addAudio(0, SoundCode().mono(0, count, audio.sampleRate).data(), count));
    EXPECT_TRUE(maker->finish());
    return sound(spec.path, QStringLiteral("a:0"));
}

} // namespace

TEST(FrameCode, readAfterHeavyCompressionAndScalingGivesEveryNumber)
{
    QTemporaryDir folder;
    MovieSpec spec;
    spec.path = folder.filePath(QStringLiteral("codes.mov"));
    spec.video = VideoSpec{.width = 1920, .height = 1080, .crf = 35};
    auto maker = MovieMaker::create(spec);
    ASSERT_TRUE(maker);
    std::vector<int> numbers;
    for (int index = 0; index < 24; ++index)
        numbers.push_back(index < 12 ? index : static_cast<int>((index * 7919LL * 104729LL) % kHighestFrameCode));
    for (size_t index = 0; index < numbers.size(); ++index) {
        QImage picture(1920, 1080, QImage::Format_RGB32);
        picture.fill(index % 2 ? Qt::darkGray : Qt::white);
        drawFrameCode(picture, numbers[index]);
        ASSERT_TRUE(maker->addVideoFrame(picture, static_cast<int64_t>(index) * 10));
    }
    ASSERT_TRUE(maker->finish());

    const std::vector<QImage> shown = pictures(spec.path, 640, 360);
    ASSERT_EQ(shown.size(), numbers.size());
    for (size_t index = 0; index < shown.size(); ++index)
        EXPECT_EQ(readFrameCode(shown[index]), numbers[index]);
}

TEST(FrameCode, readPicturesWithoutWholeCodeGivesNothing)
{
    for (const Qt::GlobalColor colour : {Qt::black, Qt::white, Qt::gray}) {
        QImage plain(640, 360, QImage::Format_RGB32);
        plain.fill(colour);
        EXPECT_EQ(readFrameCode(plain), std::nullopt);
    }
    std::vector<uint8_t> luma(640 * 360, 128);
    drawFrameCode(luma.data(), 640, 640, 360, 123456);
    EXPECT_EQ(readFrameCode(luma.data(), 640, 640, 360), 123456);
    // One cell upside down must not read as another number.
    for (int y = 0; y < 30; ++y)
        std::transform(luma.begin() + y * 640, luma.begin() + y * 640 + 32, luma.begin() + y * 640,
            [](uint8_t value) { return static_cast<uint8_t>(251 - value); });
    EXPECT_EQ(readFrameCode(luma.data(), 640, 640, 360), std::nullopt);
}

TEST(SoundCode, findPositionInCleanSoundIsExactToAPartOfASample)
{
    const SoundCode code(3);
    for (const int rate : {16000, 44100, 48000, 96000}) {
        for (const int64_t position : {int64_t(0), int64_t(777), int64_t(rate) * 9 + 123}) {
            const std::vector<float> window = code.mono(position, kWindow, rate);
            const auto found = code.findPosition(window, rate, 0, int64_t(rate) * 10);
            ASSERT_TRUE(found) << rate << " " << position;
            EXPECT_NEAR(*found, static_cast<double>(position), 0.02);
            EXPECT_EQ(SoundCode(4).findPosition(window, rate, 0, int64_t(rate) * 10), std::nullopt);
        }
    }
}

TEST(SoundCode, findPositionDeepInsideAnHourUnderOtherSoundIsRight)
{
    const SoundCode code(5);
    const int64_t position = int64_t(48000) * 3599 - 1357;
    std::vector<float> window = code.mono(position, kWindow, 48000);
    const std::vector<float> other = SoundCode(6).mono(42, kWindow, 48000);
    std::transform(window.begin(), window.end(), other.begin(), window.begin(), std::plus<>());
    const auto found = code.findPosition(window, 48000, int64_t(48000) * 3480, int64_t(48000) * 3600);
    ASSERT_TRUE(found);
    EXPECT_NEAR(*found, static_cast<double>(position), 0.2);
}

TEST(SoundCode, findPositionAfterCodecsIsWithinASample)
{
    QTemporaryDir folder;
    struct Case {
        QString codec;
        int rate;
        double tolerance;
    };
    for (const Case& c : {Case{QStringLiteral("pcm_s16le"), 48000, 0.1}, Case{QStringLiteral("pcm_f32le"), 44100, 0.1},
             Case{QStringLiteral("alac"), 48000, 0.1}, Case{QStringLiteral("aac"), 48000, 1},
             Case{QStringLiteral("aac"), 44100, 1}}) {
        const std::vector<float> heard
            = throughCodec(folder.path(), AudioSpec{.codec = c.codec, .sampleRate = c.rate}, 3);
        ASSERT_GE(heard.size(), static_cast<size_t>(3 * c.rate));
        for (const int64_t position : {int64_t(5000), int64_t(70001)}) {
            const auto found = SoundCode().findPosition(
                std::span(heard).subspan(static_cast<size_t>(position), kWindow), c.rate, 0, 3 * c.rate);
            ASSERT_TRUE(found) << qPrintable(c.codec);
            EXPECT_NEAR(*found, static_cast<double>(position), c.tolerance) << qPrintable(c.codec);
        }
    }
}

} // namespace kelmo::test
