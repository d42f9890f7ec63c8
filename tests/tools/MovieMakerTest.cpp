#include "tools/moviemaker/MovieMaker.h"

#include "tests/tools/MediaCommands.h"
#include "tools/moviemaker/FrameCode.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace kelmo::test {

namespace {

QImage numbered(const VideoSpec& video, int number)
{
    QImage picture(video.width, video.height, QImage::Format_RGB32);
    picture.fill(QColor(40, 90, 160));
    drawFrameCode(picture, number);
    return picture;
}

/// A movie with one numbered picture at each of `times`.
void makeMovie(const MovieSpec& spec, const std::vector<int64_t>& times)
{
    auto maker = MovieMaker::create(spec);
    ASSERT_TRUE(maker) << qPrintable(userText(maker.error()));
    int number = 0;
    for (const int64_t time : times)
        ASSERT_TRUE(maker->addVideoFrame(numbered(*spec.video, number++), time));
    const std::vector<float> second(static_cast<size_t>(48000), 0.25F);
    for (size_t track = 0; track < spec.audio.size(); ++track)
        ASSERT_TRUE(maker->addAudio(static_cast<int>(track), second.data(), 24000));
    const auto finished = maker->finish();
    ASSERT_TRUE(finished) << qPrintable(userText(finished.error()));
}

std::vector<int64_t> steadyTimes(int count, int64_t step)
{
    std::vector<int64_t> times;
    times.reserve(size_t(count));
    for (int index = 0; index < count; ++index)
        times.push_back(index * step);
    return times;
}

struct Case {
    const char* name;
    VideoSpec video;
    const char* suffix;
    MovieLayout layout = MovieLayout::TablesAtEnd;
};

// The name of a test ends in it.
[[maybe_unused]] void PrintTo(const Case& each, std::ostream* out) { *out << each.name; }

VideoSpec with(const std::function<void(VideoSpec&)>& change)
{
    VideoSpec video;
    video.width = 320;
    video.height = 180;
    change(video);
    return video;
}

const std::vector<Case>& cases()
{
    static const std::vector<Case> all = {
        {"h264", with([](VideoSpec& v) { v.preset = QStringLiteral("veryfast"); }), ".mov"},
        {"h264OpenGopPyramid", with([](VideoSpec& v) {
             v.preset = QStringLiteral("veryfast");
             v.openGop = v.bPyramid = true;
             v.bFrames = 5;
             v.gopLength = 20;
         }),
            ".mp4"},
        {"hevcOpenGop", with([](VideoSpec& v) {
             v.codec = QStringLiteral("hevc");
             v.openGop = true;
             v.gopLength = 20;
         }),
            ".mov"},
        {"fragmented", with([](VideoSpec& v) { v.gopLength = 10; }), ".mp4", MovieLayout::Fragmented},
        {"fastStart", with([](VideoSpec& v) { v.colour = ColourTags::bt709(); }), ".mp4", MovieLayout::FastStart},
        {"matroska", with([](VideoSpec& v) {
             v.timeBase = {1, 1000};
         }),
            ".mkv"},
        {"oddSize", with([](VideoSpec& v) {
             v.pixelFormat = QStringLiteral("yuv444p");
             v.width = 321;
             v.height = 181;
         }),
            ".mov"},
        {"tenBit", with([](VideoSpec& v) {
             v.codec = QStringLiteral("hevc");
             v.pixelFormat = QStringLiteral("yuv420p10");
         }),
            ".mov"},
        {"prores", with([](VideoSpec& v) {
             v.codec = QStringLiteral("prores_ks");
             v.pixelFormat = QStringLiteral("yuv422p10");
         }),
            ".mov"},
    };
    return all;
}

} // namespace

class MovieMakerFormats : public testing::TestWithParam<Case> { };

TEST_P(MovieMakerFormats, makeUnevenTimesKeepsEveryPictureAndTime)
{
    QTemporaryDir folder;
    const Case& c = GetParam();
    MovieSpec spec;
    spec.path = folder.filePath(QStringLiteral("movie") + QString::fromUtf8(c.suffix));
    spec.video = c.video;
    spec.layout = c.layout;
    // Matroska has no edit lists: AAC's priming would shift the whole movie.
    const bool matroska = spec.path.endsWith(QLatin1String(".mkv"));
    spec.audio = {AudioSpec{.codec = matroska ? QStringLiteral("pcm_s16le") : QStringLiteral("aac")}};
    std::vector<int64_t> times;
    for (int64_t index = 0, time = 0; index < 40; ++index, time += 10 + (index % 4) * 7)
        times.push_back(time);
    ASSERT_NO_FATAL_FAILURE(makeMovie(spec, times));

    QStringList expected;
    for (const int64_t time : times)
        expected.append(QString::number(time));
    EXPECT_EQ(probe(spec.path, QStringLiteral("v:0"), QStringLiteral("frame=pts")), expected);
    const std::vector<QImage> shown = pictures(spec.path, c.video.width, c.video.height);
    ASSERT_EQ(shown.size(), times.size());
    for (size_t index = 0; index < shown.size(); ++index)
        EXPECT_EQ(readFrameCode(shown[index]), static_cast<int>(index));
}

INSTANTIATE_TEST_SUITE_P(
    All, MovieMakerFormats, testing::ValuesIn(cases()), [](const auto& info) { return std::string(info.param.name); });

TEST(MovieMaker, makeLateTracksAndLongLastFrameAreInTheTables)
{
    QTemporaryDir folder;
    MovieSpec spec;
    spec.path = folder.filePath(QStringLiteral("late.mov"));
    spec.video = with([](VideoSpec& v) { v.lastFrameDuration = 300; });
    spec.audio = {AudioSpec{.codec = QStringLiteral("pcm_s16le"), .startOffsetMs = 250}};
    std::vector<int64_t> times = steadyTimes(30, 20);
    for (int64_t& time : times)
        time += 60;
    ASSERT_NO_FATAL_FAILURE(makeMovie(spec, times));

    EXPECT_EQ(probe(spec.path, QStringLiteral("v:0"), QStringLiteral("stream=start_time,duration_ts")),
        QStringList(QStringLiteral("0.100000,%1").arg(29 * 20 + 300)));
    EXPECT_EQ(probe(spec.path, QStringLiteral("a:0"), QStringLiteral("stream=start_time,duration_ts")),
        QStringList(QStringLiteral("0.250000,24000")));
}

TEST(MovieMaker, makeRotatedPlayersShowItUpright)
{
    QTemporaryDir folder;
    for (const int rotation : {90, 180, 270}) {
        MovieSpec spec;
        spec.path = folder.filePath(QStringLiteral("turned.mov"));
        const bool upended = rotation != 180;
        const QSize upright = upended ? QSize(180, 320) : QSize(320, 180);
        spec.video = with([rotation](VideoSpec& v) { v.rotation = rotation; });
        QImage picture(upright, QImage::Format_RGB32);
        picture.fill(Qt::darkBlue);
        drawFrameCode(picture, rotation);
        auto maker = MovieMaker::create(spec);
        ASSERT_TRUE(maker);
        ASSERT_TRUE(maker->addVideoFrame(picture.transformed(QTransform().rotate(-rotation)), 0));
        ASSERT_TRUE(maker->finish());
        const std::vector<QImage> shown = pictures(spec.path, upright.width(), upright.height());
        ASSERT_EQ(shown.size(), 1U);
        EXPECT_EQ(readFrameCode(shown.front()), rotation);
    }
}

TEST(MovieMaker, makeColourTagsReadsThemAndTheColourBack)
{
    QTemporaryDir folder;
    MovieSpec spec;
    spec.path = folder.filePath(QStringLiteral("coloured.mov"));
    spec.video = with([](VideoSpec& v) {
        v.crf = 5;
        v.colour = {QStringLiteral("smpte170m"), QStringLiteral("iec61966-2-1"), QStringLiteral("smpte170m"),
            QStringLiteral("pc")};
    });
    auto maker = MovieMaker::create(spec);
    ASSERT_TRUE(maker);
    QImage red(320, 180, QImage::Format_RGB32);
    red.fill(QColor(200, 0, 0));
    ASSERT_TRUE(maker->addVideoFrame(red, 0));
    ASSERT_TRUE(maker->finish());

    EXPECT_EQ(probe(spec.path, QStringLiteral("v:0"),
                  QStringLiteral("stream=color_range,color_space,color_transfer,color_primaries")),
        QStringList(QStringLiteral("pc,smpte170m,iec61966-2-1,smpte170m")));
    const QByteArray planes = outputOf(QStringLiteral("ffmpeg"),
        {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"), spec.path, QStringLiteral("-f"),
            QStringLiteral("rawvideo"), QStringLiteral("-")});
    ASSERT_EQ(planes.size(), 320 * 180 * 3 / 2);
    // Full range luma by BT.601: 0.299 × 200.
    EXPECT_NEAR(static_cast<uint8_t>(planes.at(0)), 60, 2);
}

TEST(MovieMaker, createImpossibleSpecFailsWithTheReason)
{
    QTemporaryDir folder;
    MovieSpec odd;
    odd.path = folder.filePath(QStringLiteral("odd.mov"));
    odd.video = with([](VideoSpec& v) { v.width = 321; });
    EXPECT_FALSE(MovieMaker::create(odd));

    MovieSpec misspelt = odd;
    misspelt.video = with([](VideoSpec& v) { v.codecOptions[QStringLiteral("gopp")] = QStringLiteral("1"); });
    const auto made = MovieMaker::create(misspelt);
    ASSERT_FALSE(made);
    EXPECT_TRUE(made.error().description.contains(QStringLiteral("gopp")));
}

} // namespace kelmo::test
