#include "media/FrameGrab.h"

#include "media/stack/decode/FrameSequence.h"
#include "tests/media/MadeTake.h"
#include "tools/moviemaker/FrameCode.h"

#include <QImage>

#include <gtest/gtest.h>

#include <future>
#include <limits>
#include <random>

namespace kelmo {

namespace {

QImage grabbed(const Built& built, double editedMs, double maxWidth = 10'000)
{
    const Result<QByteArray> png = FrameGrab::png(built, editedMs, maxWidth);
    EXPECT_TRUE(png) << (png ? "" : qPrintable(userText(png.error())));
    if (!png)
        return {};
    EXPECT_TRUE(png->startsWith("\x89PNG\r\n\x1a\n"));
    EXPECT_TRUE(png->contains("IEND"));
    return QImage::fromData(*png, "PNG");
}

int numberAt(const CodedMovie& movie, double sourceMs)
{
    int shown = 0;
    for (size_t i = 0; i < movie.times.size() && double(movie.times[i]) / 0.6 <= sourceMs + 1e-6; ++i)
        shown = int(i);
    return shown;
}

void makeLarge(MadeTake& take, int width, int height)
{
    take.screen.spec.video->width = width;
    take.screen.spec.video->height = height;
    take.screen.spec.video->preset = QStringLiteral("ultrafast");
    take.screen.times = {0, 20, 40};
    take.screen.spec.audio.clear();
    take.load();
}

} // namespace

TEST(FrameGrab, pngAtAnyTimeIsTheExactFrame)
{
    MadeTake take;
    take.screen.times = unevenTimes(300, 5, 50, 9);
    take.screen.spec.audio.clear();
    take.load();
    const double end = take.loaded()->durationMs;
    const std::vector<Span> keep{{200, 1000}, {1500.25, 1533}, {2000, end - 500}, {end - 400, end}};
    const std::shared_ptr<const Built> built = take.build(keep);
    const Timeline& timeline = built->timeline;
    std::mt19937 random(5);
    std::uniform_real_distribution<double> anywhere(0, timeline.durationMs - 1);
    const auto check = [&](double ms) {
        EXPECT_EQ(readFrameCode(grabbed(*built, ms)), numberAt(take.screen, timeline.source(ms))) << "at " << ms;
    };
    for (const double start : timeline.starts) {
        check(start);
        check(std::max(0.0, start - 0.01));
    }
    std::vector<std::future<void>> workers;
    std::vector<double> times(40);
    std::generate(times.begin(), times.end(), [&] { return std::floor(anywhere(random) * 1000) / 1000; });
    for (int worker = 0; worker < 4; ++worker) {
        workers.push_back(std::async(std::launch::async, [&, worker] {
            for (size_t i = size_t(worker); i < times.size(); i += 4)
                check(times[i]);
        }));
    }
    workers.clear();

    const int first = numberAt(take.screen, 200);
    const int last = numberAt(take.screen, timeline.source(timeline.durationMs - 1));
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const double early : {-1.0, -1e300, -infinity})
        EXPECT_EQ(readFrameCode(grabbed(*built, early)), first);
    for (const double late : {timeline.durationMs, 1e300, infinity})
        EXPECT_EQ(readFrameCode(grabbed(*built, late)), last);
    const std::shared_ptr<const Built> blink = take.build({{500, 500.5}});
    EXPECT_EQ(readFrameCode(grabbed(*blink, 0.4)), numberAt(take.screen, 500));
}

TEST(FrameGrab, damagedStretchShowsThePictureBeforeItOrElseTheNext)
{
    MadeTake take;
    take.screen.times = steadyTimes(90, 20);
    take.screen.spec.video->gopLength = 30;
    take.screen.spec.audio.clear();
    take.load();
    const std::vector<Sample>& samples = take.loaded()->screenVideo.track->index.samples();
    const auto damage = [&](size_t from, size_t to) {
        QFile movie(take.screen.spec.path);
        ASSERT_TRUE(movie.open(QIODevice::ReadWrite));
        for (size_t i = from; i < to; ++i) {
            ASSERT_TRUE(movie.seek(samples[i].position));
            movie.write(QByteArray(samples[i].size, '\0'));
        }
    };
    const auto numberAtMs = [&](double ms) { return readFrameCode(grabbed(*take.build({{0, 3000}}), ms)); };
    damage(30, 60);
    EXPECT_EQ(numberAtMs(1500), 29);
    EXPECT_EQ(numberAtMs(1980), 29);
    EXPECT_EQ(numberAtMs(2200), numberAt(take.screen, 2200));
    // An edit that keeps nothing but the damage still has a picture in every place.
    FrameSequence sequence(
        std::move(*VideoDecoder::open(take.loaded()->screenVideo.asset, *take.loaded()->screenVideo.track, 2)),
        {35, 36, 37, 59, 60, 61});
    for (const int number : {29, 29, 29, 29, 60, 61}) {
        const Result<VideoFrame> frame = sequence.next();
        ASSERT_TRUE(frame);
        EXPECT_EQ(readFrameCode(frame->plane(0), frame->stride(0), frame->width(), frame->height()), number);
    }
    damage(0, 30);
    EXPECT_EQ(numberAtMs(500), 60);
    damage(60, 90);
    EXPECT_FALSE(FrameGrab::png(*take.build({{0, 3000}}), 500, 300));
}

TEST(FrameGrab, pngFitsTheSquareAndIsNeverEnlarged)
{
    MadeTake wide;
    makeLarge(wide, 1920, 1080);
    const std::shared_ptr<const Built> landscape = wide.build({{0, 100}});
    EXPECT_EQ(grabbed(*landscape, 40, 960).size(), QSize(960, 540));
    EXPECT_EQ(readFrameCode(grabbed(*landscape, 40, 960)), 1);
    EXPECT_EQ(grabbed(*landscape, 0, 5000).size(), QSize(1920, 1080));
    for (const double silly : {0.0, -5.0, 1.0, std::nan("")})
        EXPECT_EQ(grabbed(*landscape, 0, silly).size(), QSize(1, 1)) << silly;

    MadeTake tall;
    makeLarge(tall, 1080, 1920);
    EXPECT_EQ(grabbed(*tall.build({{0, 100}}), 0, 960).size(), QSize(540, 960));
}

TEST(FrameGrab, pngOfATurnedMovieStandsUpright)
{
    for (const int rotation : {90, 180, 270}) {
        MadeTake take;
        take.screen.spec.video->rotation = rotation;
        take.screen.times = steadyTimes(30, 20);
        take.screen.spec.audio.clear();
        take.load();
        const QImage image = grabbed(*take.build({{0, 1000}}), 500);
        EXPECT_EQ(image.size(), rotation == 180 ? QSize(320, 180) : QSize(180, 320));
        EXPECT_EQ(readFrameCode(image.transformed(QTransform().rotate(-rotation))), 15) << rotation;
    }
}

TEST(FrameGrab, pngWhereThereIsNoPictureIsBlack)
{
    MadeTake take;
    take.screen.times = steadyTimes(30, 20, 600); // From one second on.
    take.screen.spec.audio.clear();
    take.load();
    const std::shared_ptr<const Built> built = take.build({{0, 2000}});
    EXPECT_EQ(grabbed(*built, 500).pixel(160, 90), qRgb(0, 0, 0));
    EXPECT_EQ(readFrameCode(grabbed(*built, 1100)), 3);
    const std::shared_ptr<const Built> nothing = take.build({});
    EXPECT_EQ(grabbed(*nothing, 0).pixel(160, 90), qRgb(0, 0, 0));
}

} // namespace kelmo
