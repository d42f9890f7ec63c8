#include "views/PlayerView.h"

#include "media/Exporter.h"
#include "media/FrameGrab.h"
#include "media/stack/PngWriter.h"
#include "media/stack/VideoDecoder.h"
#include "tests/movies/CodedMovie.h"
#include "tests/support/TemporaryHome.h"

#include <QCoreApplication>
#include <QProcess>
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

    /// What the view has on its pixels, and where the picture lies in it.
    [[nodiscard]] static QImage pixelsOf(PlayerView& view) { return view.grab().toImage(); }

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
    const QSize box(qRound(401 * view.devicePixelRatioF()), qRound(321 * view.devicePixelRatioF()));
    EXPECT_EQ(picture->size(), QSize(320, 180).scaled(box, Qt::KeepAspectRatio)) << "a pixel for a pixel";

    const QImage shown = pixelsOf(view);
    const QImage wanted = grabbed(m_editor, picture->size());
    const QPoint corner((box.width() - picture->width()) / 2, (box.height() - picture->height()) / 2);
    int worst = 0;
    for (int y = 0; y < wanted.height(); ++y) {
        for (int x = 0; x < wanted.width(); ++x)
            worst = std::max(worst, difference(shown.pixel(corner + QPoint(x, y)), wanted.pixel(x, y)));
    }
    EXPECT_LE(worst, tolerance);
    EXPECT_EQ(QColor(shown.pixel(shown.width() / 2, 2)), QColor(14, 14, 14));
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
    const std::optional<int> display = track.index.displayAt(ExactTime::of(MediaTime::fromMs(lookedAtMs)));
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
    for (const char* scale : {"1.25", "1.5", "2"}) {
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_SCALE_FACTOR"), QString::fromLatin1(scale));
        child.setProcessEnvironment(environment);
        child.start(
            QCoreApplication::applicationFilePath(), {QStringLiteral("--gtest_filter=PlayerViewTest.shownPicture*")});
        ASSERT_TRUE(child.waitForFinished(60'000));
        EXPECT_EQ(child.exitCode(), 0) << scale << child.readAllStandardOutput().constData();
    }
}

TEST_F(PlayerViewTest, hiddenNothingIsMadeAndTheLastPictureStaysAcrossAnOpen)
{
    PlayerView view(m_editor);
    QTest::qWait(100);
    EXPECT_EQ(m_editor.picture(), nullptr) << "nobody looks";
    view.show();
    ASSERT_TRUE(QTest::qWaitFor([this] { return m_editor.picture() != nullptr; }));
    m_editor.open(m_folder.filePath(QStringLiteral("talk.mov")));
    EXPECT_NE(m_editor.picture(), nullptr) << "rather the last picture than none";
}

} // namespace kelmo
