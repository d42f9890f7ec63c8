#include "views/window/PlayerView.h"

#include "media/Exporter.h"
#include "media/FrameGrab.h"
#include "media/stack/decode/VideoDecoder.h"
#include "media/stack/picture/PngWriter.h"
#include "tests/movies/CodedMovie.h"
#include "tests/support/TemporaryHome.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QProcess>
#include <QScreen>
#include <QStandardPaths>
#include <QTest>

#include <gtest/gtest.h>

namespace kelmo {

namespace {

/// Levels that two pictures may differ by where the same is shown.
constexpr int tolerance = 2;
constexpr double lookedAtMs = 1234;

class PlayerViewTest : public testing::Test {
protected:
    void SetUp() override
    {
        CodedMovie movie;
        movie.spec = smallMovie(m_folder, QStringLiteral("talk.mov"));
        movie.times = steadyTimes(90, 20);
        make(movie);
        movie.spec.path = m_folder.filePath(QStringLiteral("talk_webcam.mov"));
        movie.firstNumber = 40;
        make(movie);
        m_editor.open(m_folder.filePath(QStringLiteral("talk.mov")));
        ASSERT_TRUE(QTest::qWaitFor([this] { return m_editor.built() != nullptr; }));
    }

    /// What is on the view's pixels: those of the screen where there is one that can be looked at.
    [[nodiscard]] static QImage pixelsOf(PlayerView& view)
    {
        if (QGuiApplication::platformName() != QStringLiteral("xcb"))
            return view.grab().toImage();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&view));
        QTest::qWait(200); // Until the server has drawn it.
        return view.screen()->grabWindow(view.winId()).toImage();
    }

    /// Runs the test of what is shown again at these scales, on another platform.
    static void lookAtScales(QProcessEnvironment environment)
    {
        // The platforms' own libraries keep memory until the end, some of it when they are unloaded already.
        environment.insert(QStringLiteral("LSAN_OPTIONS"), QStringLiteral("detect_leaks=0"));
        for (const char* scale : {"1", "1.25", "1.5", "2"}) {
            QProcess child;
            child.setProcessChannelMode(QProcess::MergedChannels);
            environment.insert(QStringLiteral("QT_SCALE_FACTOR"), QString::fromLatin1(scale));
            child.setProcessEnvironment(environment);
            child.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("--gtest_filter=PlayerViewTest.shownPicture*")});
            ASSERT_TRUE(child.waitForFinished(60'000));
            EXPECT_EQ(child.exitCode(), 0) << scale << child.readAllStandardOutput().constData();
        }
    }

    QTemporaryDir m_folder;
    TemporaryHome m_home;
    Editor m_editor{Editor::Sound::Muted};
};

int difference(QRgb a, QRgb b)
{
    return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)), std::abs(qBlue(a) - qBlue(b))});
}

/// The frame as it is grabbed, at the size of the picture on show.
QImage grabbed(const Editor& editor, QSize size)
{
    const Result<VideoFrame> frame = FrameGrab::picture(*editor.built(), lookedAtMs);
    EXPECT_TRUE(frame);
    const Result<QByteArray> png = pngOf(*frame, size.width(), size.height());
    EXPECT_TRUE(png);
    return QImage::fromData(*png, "PNG");
}

} // namespace

TEST_F(PlayerViewTest, shownPictureIsTheGrabbedOneAmidNearBlack)
{
    PlayerView view(m_editor);
    view.resize(401, 321);
    view.show();
    m_editor.previewSource(lookedAtMs);
    QTest::qWait(500); // Until the picture is made with care.
    const std::shared_ptr<const QImage> picture = m_editor.picture();
    ASSERT_TRUE(picture);
    // Some platforms round a window's size to what its scale allows.
    const QSize box(qRound(view.width() * view.devicePixelRatioF()), qRound(view.height() * view.devicePixelRatioF()));
    EXPECT_EQ(picture->size(), QSize(320, 180).scaled(box, Qt::KeepAspectRatio)) << "a pixel for a pixel";

    const QImage shown = pixelsOf(view);
    const QImage wanted = grabbed(m_editor, picture->size());
    const QPoint corner((box.width() - picture->width()) / 2, (box.height() - picture->height()) / 2);
    const int rounded = int(std::ceil(PlayerView::cornerRadius * view.devicePixelRatioF()));
    const QRect upright = wanted.rect().adjusted(rounded, 0, -rounded, 0);
    const QRect lying = wanted.rect().adjusted(0, rounded, 0, -rounded);
    int worst = 0;
    for (int y = 0; y < wanted.height(); ++y) {
        for (int x = 0; x < wanted.width(); ++x) {
            if (upright.contains(x, y) || lying.contains(x, y))
                worst = std::max(worst, difference(shown.pixel(corner + QPoint(x, y)), wanted.pixel(x, y)));
        }
    }
    EXPECT_LE(worst, tolerance);
    const QColor around(14, 14, 14);
    EXPECT_EQ(QColor(shown.pixel(shown.width() / 2, 2)), around);
    for (const QPoint tip :
        {wanted.rect().topLeft(), wanted.rect().topRight(), wanted.rect().bottomLeft(), wanted.rect().bottomRight()})
        EXPECT_LE(difference(shown.pixel(corner + tip), around.rgb()), tolerance) << "the corners are round";
}

TEST_F(PlayerViewTest, exportedPictureIsTheGrabbedOneButForTheCodec)
{
    const QString path = m_folder.filePath(QStringLiteral("out.mp4"));
    ExportSettings settings;
    settings.codec = Codec::H264;
    const std::atomic<bool> cancelled = false;
    ASSERT_TRUE(Exporter::run(
        m_editor.built(), settings, path, [](double) {}, cancelled));
    const Result<std::shared_ptr<const Asset>> asset = Asset::open(path);
    ASSERT_TRUE(asset);
    const Track& track = (*asset)->tracks().front();
    const std::optional<int> display = track.index.frameAt(ExactTime::of(MediaTime::fromMs(lookedAtMs)));
    Result<std::unique_ptr<VideoDecoder>> decoder = VideoDecoder::open(*asset, track, 1);
    ASSERT_TRUE(decoder && display);
    const Result<VideoFrame> frame = (*decoder)->frame(*display);
    ASSERT_TRUE(frame);
    const Result<QByteArray> png = pngOf(*frame, 320, 180);
    ASSERT_TRUE(png);
    const QImage exported = QImage::fromData(*png, "PNG");
    const QImage wanted = grabbed(m_editor, {320, 180});

    // The codec blurs edges; what nearly all small squares look like stays.
    constexpr int side = 4;
    const QSize squares(320 / side, 180 / side);
    const QImage a = exported.scaled(squares, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    const QImage b = wanted.scaled(squares, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    int off = 0;
    for (int y = 0; y < squares.height(); ++y) {
        for (int x = 0; x < squares.width(); ++x)
            off += difference(a.pixel(x, y), b.pixel(x, y)) > tolerance;
    }
    EXPECT_LE(off, squares.width() * squares.height() / 20);
}

TEST_F(PlayerViewTest, everyScaleOfTheScreenShowsPixelForPixel)
{
    lookAtScales(QProcessEnvironment::systemEnvironment());
}

TEST_F(PlayerViewTest, everyScaleOfAnXServerShowsPixelForPixel)
{
    if (QStandardPaths::findExecutable(QStringLiteral("Xvfb")).isEmpty())
        GTEST_SKIP() << "Xvfb is not installed";
    QProcess server; // It chooses a display and tells which.
    server.start(QStringLiteral("Xvfb"),
        {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"), QStringLiteral("0"),
            QStringLiteral("1280x1024x24"), QStringLiteral("-nolisten"), QStringLiteral("tcp")});
    ASSERT_TRUE(QTest::qWaitFor([&] { return server.canReadLine(); }, 20'000));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), QStringLiteral(":") + QString::fromUtf8(server.readLine().trimmed()));
    environment.insert(QStringLiteral("KELMO_TEST_PLATFORM"), QStringLiteral("xcb"));
    lookAtScales(environment);
    server.terminate();
    server.waitForFinished(5000);
}

TEST_F(PlayerViewTest, everyScaleOfAWaylandServerShowsPixelForPixel)
{
    if (QStandardPaths::findExecutable(QStringLiteral("weston")).isEmpty())
        GTEST_SKIP() << "weston is not installed";
    const QTemporaryDir folder;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), folder.path());
    environment.insert(QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("kelmo-test"));
    QProcess server;
    server.setProcessEnvironment(environment);
    server.start(QStringLiteral("weston"),
        {QStringLiteral("--backend=headless-backend.so"), QStringLiteral("--socket=kelmo-test"),
            QStringLiteral("--width=1280"), QStringLiteral("--height=1024"), QStringLiteral("--idle-time=0")});
    ASSERT_TRUE(QTest::qWaitFor([&] { return QFile::exists(folder.filePath(QStringLiteral("kelmo-test"))); }, 20'000))
        << server.readAllStandardError().constData();
    environment.insert(QStringLiteral("KELMO_TEST_PLATFORM"), QStringLiteral("wayland"));
    lookAtScales(environment);
    server.terminate();
    server.waitForFinished(5000);
}

TEST_F(PlayerViewTest, hiddenNothingIsMadeAndTheLastPictureStaysAcrossAnOpen)
{
    PlayerView view(m_editor);
    QTest::qWait(100);
    EXPECT_EQ(m_editor.picture(), nullptr) << "the view is hidden";
    view.show();
    ASSERT_TRUE(QTest::qWaitFor([this] { return m_editor.picture() != nullptr; }));
    m_editor.open(m_folder.filePath(QStringLiteral("talk.mov")));
    EXPECT_NE(m_editor.picture(), nullptr) << "rather the last picture than none";
}

} // namespace kelmo
