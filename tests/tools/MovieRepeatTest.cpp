#include "tools/moviemaker/MovieRepeat.h"

#include "tests/tools/MediaCommands.h"
#include "tools/moviemaker/FrameCode.h"
#include "tools/moviemaker/MovieMaker.h"
#include "tools/moviemaker/SoundCode.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace kelmo::test {

TEST(MovieRepeat, repeatTwoAndAHalfTimesContinuesPicturesAndSound)
{
    constexpr int kFrames = 16; // At 30 a second 8/15 s, which is 25 AAC packets at 48 kHz.
    constexpr double kLoopMs = 8000.0 / 15;
    constexpr int kLoopSamples = 25600;
    QTemporaryDir folder;
    MovieSpec spec;
    spec.path = folder.filePath(QStringLiteral("short.mov"));
    spec.video = VideoSpec{.width = 320, .height = 180, .bFrames = 0};
    spec.audio = {AudioSpec{.channels = 1}};
    auto maker = MovieMaker::create(spec);
    ASSERT_TRUE(maker);
    for (int number = 0; number < kFrames; ++number) {
        QImage picture(320, 180, QImage::Format_RGB32);
        picture.fill(Qt::gray);
        drawFrameCode(picture, number);
        ASSERT_TRUE(maker->addVideoFrame(picture, number * 20));
    }
    ASSERT_TRUE(maker->addAudio(0, SoundCode().mono(0, kLoopSamples, 48000).data(), kLoopSamples));
    ASSERT_TRUE(maker->finish());

    const QString path = folder.filePath(QStringLiteral("long.mov"));
    ASSERT_TRUE(repeatMovie(spec.path, path, kLoopMs, kLoopMs * 2.5));
    const std::vector<QImage> shown = pictures(path, 320, 180);
    const QStringList times = probe(path, QStringLiteral("v:0"), QStringLiteral("frame=pts"));
    ASSERT_EQ(shown.size(), 40U);
    for (size_t index = 0; index < shown.size(); ++index) {
        EXPECT_EQ(readFrameCode(shown[index]), static_cast<int>(index % kFrames));
        EXPECT_EQ(times[static_cast<qsizetype>(index)].toInt(), static_cast<int>(index) * 20);
    }
    const std::vector<float> heard = sound(path, QStringLiteral("a:0"));
    ASSERT_GE(heard.size(), 2U * kLoopSamples + 10000U);
    for (const int round : {0, 1, 2}) {
        const auto at = static_cast<size_t>(round * kLoopSamples + 5000);
        const auto found = SoundCode().findPosition(std::span(heard).subspan(at, 4096), 48000, 0, kLoopSamples);
        ASSERT_TRUE(found);
        EXPECT_NEAR(*found, 5000, 1);
    }
}

} // namespace kelmo::test
