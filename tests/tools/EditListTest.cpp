#include "tools/moviemaker/EditList.h"

#include "tests/tools/MediaCommands.h"
#include "tools/moviemaker/FrameCode.h"
#include "tools/moviemaker/MovieMaker.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace kelmo::test {

namespace {

/// 30 numbered pictures, 20/600 s each, no B-frames; half a second of sound.
QString makeNumbered(const QTemporaryDir& folder, MovieLayout layout)
{
    MovieSpec spec;
    spec.path = folder.filePath(QStringLiteral("edited.mov"));
    spec.video = VideoSpec{.width = 320, .height = 180, .bFrames = 0};
    spec.audio = {AudioSpec{.codec = QStringLiteral("pcm_s16le"), .channels = 1}};
    spec.layout = layout;
    spec.movieTimescale = 600;
    auto maker = MovieMaker::create(spec);
    EXPECT_TRUE(maker);
    for (int number = 0; number < 30; ++number) {
        QImage picture(320, 180, QImage::Format_RGB32);
        picture.fill(Qt::darkGreen);
        drawFrameCode(picture, number);
        EXPECT_TRUE(maker->addVideoFrame(picture, number * 20));
    }
    const std::vector<float> silence(24000);
    EXPECT_TRUE(maker->addAudio(0, silence.data(), 24000));
    EXPECT_TRUE(maker->finish());
    return spec.path;
}

std::vector<int> shownNumbers(const QString& path)
{
    std::vector<int> numbers;
    for (const QImage& picture : pictures(path, 320, 180))
        numbers.push_back(readFrameCode(picture).value_or(-1));
    return numbers;
}

} // namespace

TEST(EditList, writeOneEntryWithPauseShowsThosePicturesFromThatTime)
{
    QTemporaryDir folder;
    for (const MovieLayout layout : {MovieLayout::TablesAtEnd, MovieLayout::FastStart}) {
        const QString path = makeNumbered(folder, layout);
        const std::vector<EditListEntry> entries = {{300, EditListEntry::Empty}, {100, 200}};
        ASSERT_TRUE(writeEditList(path, 0, entries));

        EXPECT_EQ(readEditList(path, 0).value(), entries);
        EXPECT_EQ(shownNumbers(path), (std::vector<int>{10, 11, 12, 13, 14}));
        EXPECT_EQ(probe(path, QStringLiteral("v:0"), QStringLiteral("frame=pts")).first(), QStringLiteral("300"));
        // The sound is where it was, although the tables have moved.
        EXPECT_EQ(sound(path, QStringLiteral("a:0")).size(), 24000U);
    }
}

TEST(EditList, writeThreeEntriesPlaysTheirPartsInOrder)
{
    QTemporaryDir folder;
    const QString path = makeNumbered(folder, MovieLayout::TablesAtEnd);
    ASSERT_TRUE(writeEditList(path, 0, {{40, 0}, {40, 200}, {40, 400}}));
    EXPECT_EQ(shownNumbers(path), (std::vector<int>{0, 1, 10, 11, 20, 21}));
    // Fewer entries, and none, make the tables shrink again.
    ASSERT_TRUE(writeEditList(path, 0, {{60, 100}}));
    EXPECT_EQ(shownNumbers(path), (std::vector<int>{5, 6, 7}));
    ASSERT_TRUE(writeEditList(path, 0, {}));
    EXPECT_EQ(shownNumbers(path).size(), 30U);
    EXPECT_TRUE(readEditList(path, 0).value().empty());
}

TEST(EditList, writeWideValuesReadsThemBack)
{
    QTemporaryDir folder;
    const QString path = makeNumbered(folder, MovieLayout::TablesAtEnd);
    const std::vector<EditListEntry> entries = {{(int64_t(1) << 31) + 5, 100}, {10, int64_t(1) << 33}};
    ASSERT_TRUE(writeEditList(path, 1, entries));
    EXPECT_EQ(readEditList(path, 1).value(), entries);
    EXPECT_FALSE(writeEditList(path, 2, entries));
    EXPECT_FALSE(writeEditList(folder.filePath(QStringLiteral("none.mov")), 0, entries));
}

} // namespace kelmo::test
