#include "media/Exporter.h"

#include "media/FaceCompositor.h"
#include "media/FrameGrab.h"
#include "media/stack/composition/AudioMixer.h"
#include "tests/media/ExportedMovie.h"
#include "tests/media/MadeTake.h"
#include "tools/moviemaker/FrameCode.h"
#include "tools/moviemaker/SoundCode.h"

#include <gtest/gtest.h>

namespace kelmo {

namespace {

QString exported(const MadeTake& take, const std::vector<Span>& keep, const ExportSettings& settings)
{
    const QString path = take.file(QStringLiteral("out.mp4"));
    const std::atomic<bool> cancelled = false;
    double last = 0;
    const Result<ExportReport> report = Exporter::run(
        take.build(keep), settings, path, [&](double done) { last = done; }, cancelled);
    EXPECT_TRUE(report) << (report ? "" : qPrintable(userText(report.error())));
    EXPECT_GT(last, 0.5);
    return path;
}

ExportSettings h264(int fps)
{
    ExportSettings settings;
    settings.codec = Codec::H264;
    settings.fps = fps;
    return settings;
}

/// The number of the screen picture on show at a source time.
int numberAt(const CodedMovie& movie, double sourceMs)
{
    const double tick = 1000.0 / movie.spec.video->timeBase.denominator;
    int shown = 0;
    for (size_t i = 0; i < movie.times.size() && double(movie.times[i]) * tick <= sourceMs + 1e-6; ++i)
        shown = int(i);
    return shown;
}

/// Every picture of an export shows what the edit shows at its time, and none is missing for longer than `gapMs`.
void expectExact(const MadeTake& take, const std::vector<Span>& keep, const QString& path, double gapMs)
{
    const Timeline timeline(keep);
    const std::vector<ExportedMovie::Picture> pictures = ExportedMovie(path).pictures();
    ASSERT_FALSE(pictures.empty());
    EXPECT_EQ(pictures.front().timeMs, 0);
    for (size_t i = 0; i < pictures.size(); ++i) {
        const double shown = pictures[i].timeMs;
        ASSERT_TRUE(pictures[i].number) << "at " << shown << " ms";
        // Times in the file are rounded to its ticks: look just after.
        EXPECT_EQ(*pictures[i].number, numberAt(take.screen, timeline.source(shown + 0.02))) << "at " << shown << " ms";
        const double next = i + 1 < pictures.size() ? pictures[i + 1].timeMs : timeline.durationMs;
        // What is on show just before the next picture is not out of date by more than the grid is wide.
        const int late = numberAt(take.screen, timeline.source(next - gapMs - 0.02));
        if (next - shown > gapMs) {
            EXPECT_LE(late, *pictures[i].number) << "stale before " << next << " ms";
        }
    }
    EXPECT_NEAR(ExportedMovie(path).durationMs(), timeline.durationMs, 25);
}

/// The sound at the middle of each piece is the source's, to the sample.
void expectSoundExact(
    const std::vector<Span>& keep, const QString& path, double sourceShiftMs, double tolerance, int every = 1)
{
    const std::vector<float> sound = ExportedMovie(path).sound();
    const SoundCode code(1);
    double edited = 0;
    int number = 0;
    for (const Span piece : keep) {
        const double length = piece.end - piece.start;
        constexpr int window = 4096;
        const auto at = int64_t(std::llround((edited + length / 2) * 48)) - window / 2;
        edited += length;
        if (length < 120 || number++ % every != 0)
            continue;
        ASSERT_LE(size_t(at + window), sound.size());
        const double expected = double(at) + (piece.start - (edited - length) - sourceShiftMs) * 48;
        const std::optional<double> found = code.findPosition(
            std::span(sound).subspan(size_t(at), window), 48000, int64_t(expected) - 2000, int64_t(expected) + 2000);
        ASSERT_TRUE(found) << "piece at " << piece.start;
        EXPECT_NEAR(*found, expected, tolerance) << "piece at " << piece.start;
    }
}

const std::vector<Span> manyPieces{
    {0, 410}, {533, 1211}, {1490, 1530}, {2001.5, 3777.25}, {3800, 3833}, {5000, 6250}, {6300, 6333.3}, {7000, 9990}};

} // namespace

TEST(Exporter, exportAt30And60EveryFrameIsTheMappedOne)
{
    MadeTake take;
    take.screen.times = steadyTimes(600, 10);
    take.load();
    ASSERT_FALSE(testing::Test::HasFatalFailure());
    const QString thirty = exported(take, manyPieces, h264(30));
    expectExact(take, manyPieces, thirty, 1000.0 / 30 + 1);
    expectSoundExact(manyPieces, thirty, 0, 1.0);
    // Frames 16.7 ms apart: every second one is kept, so an uncut stretch has exactly half.
    EXPECT_EQ(ExportedMovie(exported(take, {{0, 10000}}, h264(30))).pictures().size(), 300U);
    expectExact(take, manyPieces, exported(take, manyPieces, h264(60)), 1000.0 / 60 + 1);
}

TEST(Exporter, exportUnevenTimesShowsEveryFrameInItsTurn)
{
    MadeTake take;
    // Bursts at 60 a second and pauses of up to a second, as screen recorders make them; open groups of pictures.
    take.screen.times.clear();
    int64_t time = 0;
    for (int i = 0; time < 5900; ++i) {
        take.screen.times.push_back(time);
        time += i % 17 == 16 ? 600 : i % 5 == 4 ? 57 : 10;
    }
    take.screen.spec.video->openGop = true;
    take.screen.spec.video->gopLength = 40;
    take.load();
    const QString path = exported(take, manyPieces, h264(30));
    expectExact(take, manyPieces, path, 2000.0 / 30 + 1);
    expectSoundExact(manyPieces, path, 0, 1.0);
}

TEST(Exporter, exportStillPictureHasAKeyFrameEveryTwoSeconds)
{
    MadeTake take;
    take.screen.times = {0, 600, 1200, 5400};
    take.load();
    for (const Codec codec : {Codec::H264, Codec::Hevc}) {
        for (const auto engine : {ExportSettings::Engine::Writer, ExportSettings::Engine::Session}) {
            ExportSettings settings;
            settings.codec = codec;
            settings.engine = engine;
            const QString path = exported(take, {{0, 10000}}, settings);
            std::vector<double> keys = ExportedMovie(path).keyTimesMs();
            keys.push_back(10000);
            ASSERT_EQ(keys.front(), 0);
            for (size_t i = 1; i < keys.size(); ++i)
                EXPECT_LE(keys[i] - keys[i - 1], 2000.1) << int(codec) << int(engine);
            expectExact(take, {{0, 10000}}, path, 34);
            // And the index stands in front of the media.
            QFile file(path);
            ASSERT_TRUE(file.open(QIODevice::ReadOnly));
            const QByteArray bytes = file.readAll();
            EXPECT_LT(bytes.indexOf("moov"), bytes.indexOf("mdat"));
        }
    }
}

TEST(Exporter, exportWithWebcamPutsBothOnOneGrid)
{
    MadeTake take;
    CodedMovie& webcam = take.withWebcam();
    webcam.spec.video->width = 320;
    webcam.spec.video->height = 240;
    take.webcamOffsetMs = 730;
    take.screen.times = unevenTimes(400, 5, 40, 4);
    take.screen.spec.audio.clear();
    take.load();
    for (const int fps : {30, 60}) {
        const QString path = exported(take, manyPieces, h264(fps));
        const std::vector<ExportedMovie::Picture> pictures = ExportedMovie(path).pictures();
        const Timeline timeline(manyPieces);
        EXPECT_EQ(pictures.size(), size_t(std::ceil(timeline.durationMs * fps / 1000 - 1e-6)));
        for (size_t i = 0; i < pictures.size(); ++i) {
            EXPECT_NEAR(pictures[i].timeMs, double(i) * 1000 / fps, 0.02);
            EXPECT_EQ(pictures[i].number, numberAt(take.screen, timeline.source(double(i) * 1000 / fps))) << i;
        }
        // The webcam's sound does not slide: what a piece shows starts at source minus offset.
        const std::vector<Span> heard(manyPieces.begin() + 1, manyPieces.end());
        std::vector<Span> all = manyPieces;
        all.front() = {730, 730 + 410}; // Before the webcam started there is no sound to find.
        const std::vector<float> sound = ExportedMovie(path).sound();
        EXPECT_NEAR(double(sound.size()), timeline.durationMs * 48, 2048);
        for (int i = 0; i < 400 * 48; ++i)
            ASSERT_LT(std::abs(sound[size_t(i)]), 0.02f) << "sound before the webcam's first at " << i;
    }
}

TEST(Exporter, exportWebcamSoundAndFaceKeepTheirOffset)
{
    MadeTake take;
    take.withWebcam().spec.video->width = 640;
    take.webcam->spec.video->height = 360;
    take.screen.spec.video->width = 1280;
    take.screen.spec.video->height = 720;
    take.webcamOffsetMs = -400;
    take.screen.spec.audio.clear();
    take.load();
    const std::vector<Span> keep{{1000, 3000}, {4000.5, 6000}, {7013, 9000}};
    const QString path = exported(take, keep, h264(30));
    expectSoundExact(keep, path, -400, 1.0);
    // The frame grabbed, and the frame exported, show the same face at the same place.
    const std::shared_ptr<const Built> built = take.build(keep);
    const QImage shown = ExportedMovie(path).pictureAt(75);
    const Result<QByteArray> grabbed = FrameGrab::png(*built, 2500, 4000);
    ASSERT_TRUE(grabbed);
    const QImage grab = QImage::fromData(*grabbed, "PNG");
    ASSERT_EQ(grab.size(), shown.size());
    const FaceCircle circle = FaceCircle::in(1280, 720);
    const auto colorNear = [](const QImage& image, int x, int y) {
        int red = 0, green = 0, blue = 0;
        for (int dy = -2; dy <= 2; ++dy) {
            for (int dx = -2; dx <= 2; ++dx) {
                const QRgb pixel = image.pixel(x + dx, y + dy);
                red += qRed(pixel), green += qGreen(pixel), blue += qBlue(pixel);
            }
        }
        return std::array{red / 25, green / 25, blue / 25};
    };
    for (const QPoint point : {QPoint(circle.left + circle.diameter / 2, circle.top + circle.diameter * 4 / 5),
             QPoint(circle.left - 8, circle.top + circle.diameter / 2), QPoint(640, 600)}) {
        const auto a = colorNear(shown, point.x(), point.y());
        const auto b = colorNear(grab, point.x(), point.y());
        for (size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(a[i], b[i], 3) << point.x() << "," << point.y();
    }
}

TEST(Exporter, exportTurnedAndOddSizesStandUprightAndEven)
{
    MadeTake take;
    take.screen.spec.video->width = 180;
    take.screen.spec.video->height = 320;
    take.screen.spec.video->rotation = 90;
    take.load();
    EXPECT_EQ(take.loaded()->renderWidth, 320);
    EXPECT_EQ(take.loaded()->renderHeight, 180);
    const QString path = exported(take, {{1000, 2000}}, h264(30));
    const ExportedMovie movie(path);
    EXPECT_EQ(movie.probe(QStringLiteral("v"), QStringLiteral("stream=width,height")).simplified(),
        QStringLiteral("width=320 height=180"));
    // The number was painted lying down; turned back it reads as made.
    const QImage upright = movie.pictureAt(5);
    EXPECT_EQ(readFrameCode(upright.transformed(QTransform().rotate(-90))), 35);

    MadeTake odd;
    odd.screen.spec.video->pixelFormat = QStringLiteral("yuv444p");
    odd.screen.spec.video->width = 321;
    odd.screen.spec.video->height = 181;
    odd.load();
    const QString oddPath = exported(odd, {{0, 1000}}, h264(30));
    EXPECT_EQ(ExportedMovie(oddPath).probe(QStringLiteral("v"), QStringLiteral("stream=width,height")).simplified(),
        QStringLiteral("width=320 height=180"));
    expectExact(odd, {{0, 1000}}, oddPath, 34);
}

TEST(Exporter, exportSizesAndRatesFollowTheSettings)
{
    MadeTake take;
    take.screen.times = steadyTimes(30, 20);
    take.screen.soundSeconds = 1;
    take.load();
    auto loaded = std::make_shared<LoadedTake>(*take.loaded());
    Built built;
    const auto sizeOf = [&](int width, int height, std::optional<int> lines) {
        loaded->renderWidth = width;
        loaded->renderHeight = height;
        built.loaded = loaded;
        ExportSettings settings;
        settings.height = lines;
        const Result<Exporter::Size> size = Exporter::outputSize(built, settings);
        return size ? *size : Exporter::Size();
    };
    EXPECT_EQ(sizeOf(2880, 1800, 1080), (Exporter::Size{1728, 1080}));
    EXPECT_EQ(sizeOf(1920, 1080, 2160), (Exporter::Size{1920, 1080}));
    EXPECT_EQ(sizeOf(1365, 767, std::nullopt), (Exporter::Size{1364, 766}));
    EXPECT_EQ(sizeOf(1920, 1080, 1), Exporter::Size());
    EXPECT_EQ(Exporter::bitRate(Codec::Hevc, {1920, 1080}, 30), 3732480);
    EXPECT_EQ(Exporter::bitRate(Codec::H264, {1920, 1080}, 30), 6220800);

    ExportSettings small = h264(30);
    small.height = 90;
    const QString path = exported(take, {{0, 1000}}, small);
    EXPECT_EQ(ExportedMovie(path).probe(QStringLiteral("v"), QStringLiteral("stream=width,height")).simplified(),
        QStringLiteral("width=160 height=90"));
    ExportSettings wrong = h264(0);
    EXPECT_FALSE(Exporter::run(
        take.build({{0, 500}}), wrong, path, [](double) {}, std::atomic<bool>(false)));
}

TEST(Exporter, exportHevcAndSessionAndSilentTakes)
{
    MadeTake take;
    take.screen.times = steadyTimes(90, 10);
    take.screen.spec.audio.clear();
    take.load();
    ExportSettings hevc;
    hevc.codec = Codec::Hevc;
    const QString path = exported(take, {{0, 700}, {800, 1500}}, hevc);
    EXPECT_EQ(ExportedMovie(path)
                  .probe(QStringLiteral("v"), QStringLiteral("stream=codec_name,codec_tag_string"))
                  .simplified(),
        QStringLiteral("codec_name=hevc codec_tag_string=hvc1"));
    EXPECT_TRUE(ExportedMovie(path).probe(QStringLiteral("a"), QStringLiteral("stream=codec_name")).isEmpty());
    expectExact(take, {{0, 700}, {800, 1500}}, path, 34);

    ExportSettings session = hevc;
    session.engine = ExportSettings::Engine::Session;
    session.height = 90;
    const QString best = exported(take, {{0, 700}, {800, 1500}}, session);
    expectExact(take, {{0, 700}, {800, 1500}}, best, 18);
    EXPECT_TRUE(ExportedMovie(best)
                    .probe(QStringLiteral("v"), QStringLiteral("stream=height"))
                    .contains(QStringLiteral("180")));
}

TEST(Exporter, exportThatFailsOrIsCancelledLeavesNothing)
{
    MadeTake take;
    take.load();
    const std::shared_ptr<const Built> built = take.build({{0, 10000}});
    QDir folder(take.file(QStringLiteral("out")));
    ASSERT_TRUE(folder.mkpath(QStringLiteral(".")));
    const QString path = folder.filePath(QStringLiteral("x.mp4"));

    std::atomic<bool> cancelled = false;
    Result<ExportReport> report = Exporter::run(
        built, h264(30), path, [&](double done) { cancelled = done > 0.3; }, cancelled);
    ASSERT_FALSE(report);
    EXPECT_EQ(report.error().description, QStringLiteral("The export was cancelled"));
    EXPECT_TRUE(folder.entryList(QDir::Files | QDir::Hidden).isEmpty());

    // The source is cut short while it is open.
    ASSERT_TRUE(QFile::resize(take.screen.spec.path, QFileInfo(take.screen.spec.path).size() / 3));
    report = Exporter::run(
        built, h264(30), path, [](double) {}, std::atomic<bool>(false));
    ASSERT_FALSE(report);
    EXPECT_TRUE(report.error().description.contains(QStringLiteral("take.mov")))
        << qPrintable(report.error().description);
    EXPECT_TRUE(folder.entryList(QDir::Files | QDir::Hidden).isEmpty());

    report = Exporter::run(
        built, h264(30), QStringLiteral("/nowhere/x.mp4"), [](double) {}, std::atomic<bool>(false));
    ASSERT_FALSE(report);
    EXPECT_TRUE(report.error().description.contains(QStringLiteral("x.mp4"))) << qPrintable(report.error().description);
}

TEST(Exporter, exportLongTakeWithThousandCutsStaysInSync)
{
    MadeTake take;
    // Five minutes of little pictures at five a second with sound at 44.1 kHz, where rounding would add up.
    take.screen.spec.video->width = 160;
    take.screen.spec.video->height = 90;
    take.screen.spec.video->preset = QStringLiteral("ultrafast");
    take.screen.times = steadyTimes(1500, 120);
    take.screen.spec.audio[0].sampleRate = 44100;
    take.screen.soundSeconds = 300;
    take.load();
    std::vector<Span> keep;
    for (int i = 0; i < 1000; ++i)
        keep.push_back({i * 299.875, i * 299.875 + 171.375});
    const QString path = exported(take, keep, h264(30));
    expectExact(take, keep, path, 34);
    expectSoundExact(keep, path, 0, 2.0, 9);
}

} // namespace kelmo
