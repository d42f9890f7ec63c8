#include "media/CompositionBuilder.h"
#include "media/Exporter.h"
#include "media/FaceCompositor.h"
#include "media/FrameGrab.h"
#include "media/PreviewItems.h"
#include "tests/media/ExportedMovie.h"
#include "tests/media/stack/player/PlayerFixture.h"
#include "tools/moviemaker/FrameCode.h"

#include <QProcess>

#include <algorithm>

namespace kelmo {

namespace {

/// A kind of movie that is met in the wild: how the ffmpeg program makes it of a plain one with numbered frames, and
/// what is changed in its bytes then.
struct Kind {
    const char* name;
    const char* file;
    const char* arguments;
    std::function<void(QByteArray&)> change = {};
    const char* input = "";
    QSize shown{320, 180};
};

void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }

/// Writes other letters over the types of boxes, so that readers skip them.
std::function<void(QByteArray&)> without(std::vector<const char*> boxes)
{
    return [boxes = std::move(boxes)](QByteArray& bytes) {
        for (const char* box : boxes) {
            ASSERT_TRUE(bytes.contains(box)) << box;
            bytes.replace(box, "free");
        }
    };
}

/// Writes the size into the sample description and the track header, as 320×180 stood there.
std::function<void(QByteArray&)> sized(const char* codec, int width, int height)
{
    return [=](QByteArray& bytes) {
        const auto put = [&](qsizetype at, int value) {
            bytes[at] = char(value >> 8);
            bytes[at + 1] = char(value & 0xff);
        };
        const qsizetype description = bytes.indexOf(codec, bytes.indexOf("stsd"));
        const qsizetype header = bytes.indexOf("tkhd");
        ASSERT_GT(description, 0);
        ASSERT_GT(header, 0);
        put(description + 28, width);
        put(description + 30, height);
        put(header + 80, width);
        put(header + 84, height);
    };
}

const std::vector<Kind>& kinds()
{
    static const std::vector<Kind> all{
        {"h264InAvi", "a.avi", "-c:v libx264 -preset veryfast -crf 12 -g 30 -bf 3"},
        {"h264PyramidOpenGroupsInAvi", "a.avi",
            "-c:v libx264 -preset veryfast -crf 12 -bf 5 -x264-params open-gop=1:keyint=24:b-pyramid=normal"},
        {"mpeg4InAvi", "a.avi", "-c:v mpeg4 -q:v 2 -g 30 -bf 2"},
        {"mpeg2InAvi", "a.avi", "-c:v mpeg2video -q:v 2 -g 15 -bf 2"},
        {"h264WithoutOffsets", "a.m4v", "-c:v libx264 -preset veryfast -crf 12 -g 30 -bf 3 -f mp4",
            without({"ctts", "edts"})},
        {"mpeg4WithoutOffsets", "a.m4v", "-c:v mpeg4 -q:v 2 -g 30 -bf 2 -f mp4", without({"ctts", "edts"})},
        {"hevcWithoutOffsets", "a.m4v",
            "-c:v libx265 -preset ultrafast -x265-params log-level=none:bframes=3:keyint=30 -tag:v hvc1 -f mp4",
            without({"ctts", "edts"})},
        {"widerThanCoded", "a.mov", "-c:v libx264 -preset veryfast -crf 12 -g 30", sized("avc1", 321, 180)},
        {"higherThanCoded", "a.mp4", "-c:v libx264 -preset veryfast -crf 12 -g 30", sized("avc1", 320, 181)},
        {"hevcWiderThanCoded", "a.mov",
            "-c:v libx265 -preset ultrafast -crf 12 -x265-params log-level=none -tag:v hvc1", sized("hvc1", 321, 181)},
        {"shapedByAPixel", "a.mp4", "-c:v libx264 -preset veryfast -crf 12 -g 30 -aspect 321:180"},
        {"shapedByAPixelInMatroska", "a.mkv", "-c:v libx264 -preset veryfast -crf 12 -g 30 -aspect 321:180"},
        {"mpeg4InMp4", "a.mp4", "-c:v mpeg4 -q:v 2 -g 30"},
        {"mpeg4WithBFramesInMov", "a.mov", "-c:v mpeg4 -q:v 2 -g 30 -bf 2"},
        {"h263In3gp", "a.3gp", "-c:v h263 -q:v 2 -g 30 -s 352x288", {}, "", {384, 288}},
        {"h263In3gpFragments", "a.3gp", "-c:v h263 -q:v 2 -g 30 -s 352x288 -movflags frag_keyframe+empty_moov", {}, "",
            {384, 288}},
        {"openGroupsInMp4", "a.mp4", "-c copy"},
        {"matroskaWithLeadingFrames", "a.mkv", "-c copy", {}, "-ss 1.2"},
        {"transportStream", "a.ts", "-c copy"},
        {"transportStreamWithLeadingFrames", "a.ts", "-c copy -bsf:v h264_mp4toannexb,dump_extra", {}, "-ss 1.2"},
        {"mpeg2InTransportStream", "a.ts", "-c:v mpeg2video -q:v 2 -g 15 -bf 2"},
    };
    return all;
}

QStringList words(const char* text) { return QString::fromLatin1(text).split(QLatin1Char(' '), Qt::SkipEmptyParts); }

/// Decibels between two pictures; a hundred when they are the same.
double likeness(const QImage& a, const QImage& b)
{
    double sum = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            sum += std::pow(qRed(p) - qRed(q), 2) + std::pow(qGreen(p) - qGreen(q), 2)
                + std::pow(qBlue(p) - qBlue(q), 2);
        }
    }
    const double mean = sum / (3.0 * a.width() * a.height());
    return mean > 0 ? std::min(100.0, 10 * std::log10(255 * 255 / mean)) : 100;
}

std::vector<int> withoutRepeats(const std::vector<std::optional<int>>& numbers)
{
    std::vector<int> found;
    for (const std::optional<int> number : numbers) {
        if (number && (found.empty() || found.back() != *number))
            found.push_back(*number);
    }
    return found;
}

} // namespace

class MovieKinds : public PlayerFixture, public testing::WithParamInterface<Kind> {
protected:
    void SetUp() override
    {
        PlayerFixture::SetUp();
        CodedMovie plain;
        plain.spec = smallMovie(m_folder, QStringLiteral("plain.mp4"));
        plain.spec.video->preset = QStringLiteral("veryfast");
        plain.spec.video->crf = 10;
        plain.spec.video->openGop = true;
        plain.spec.video->bFrames = 3;
        plain.spec.video->gopLength = 24;
        plain.times = steadyTimes(90, 20);
        make(plain);
        ASSERT_FALSE(HasFatalFailure());
        m_path = m_folder.filePath(QString::fromLatin1(GetParam().file));
        QProcess ffmpeg;
        ffmpeg.start(QStringLiteral("ffmpeg"),
            words("-v error -y") + words(GetParam().input) + QStringList{QStringLiteral("-i"), plain.spec.path}
                + words(GetParam().arguments) + QStringList{m_path});
        ASSERT_TRUE(ffmpeg.waitForFinished(120'000));
        ASSERT_EQ(ffmpeg.exitCode(), 0) << ffmpeg.readAllStandardError().constData();
        if (GetParam().change)
            change(GetParam().change);
        for (const ExportedMovie::Picture& picture : ExportedMovie(m_path).pictures())
            m_numbers.push_back(picture.number.value_or(-1));
        ASSERT_GT(m_numbers.size(), 40U);
    }

    void change(const std::function<void(QByteArray&)>& changeBytes) const
    {
        QFile file(m_path);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        QByteArray bytes = file.readAll();
        changeBytes(bytes);
        file.seek(0);
        file.write(bytes);
    }

    [[nodiscard]] Take take(const QString& screen, const QString& webcam = {}) const
    {
        Take files;
        files.base = QStringLiteral("take");
        files.dir = QUrl::fromLocalFile(m_folder.path());
        files.screenURL = QUrl::fromLocalFile(screen);
        if (!webcam.isEmpty())
            files.webcamURL = QUrl::fromLocalFile(webcam);
        return files;
    }

    void load()
    {
        const LoadedTake::Opened loaded = LoadedTake::load(take(m_path));
        ASSERT_TRUE(loaded) << qPrintable(loaded ? QString() : userText(loaded.error()));
        m_loaded = *loaded;
        m_built = CompositionBuilder::build(m_loaded, {{0, m_loaded->durationMs}});
    }

    [[nodiscard]] const SampleIndex& index() const { return m_loaded->screenVideo.track->index; }

    /// The middle of what an entry of the display list shows.
    [[nodiscard]] double middleMs(int display) const
    {
        const auto& frames = index().frames();
        const int64_t start = frames[size_t(display)].present;
        const bool isLast = display + 1 == int(frames.size());
        const int64_t end = isLast ? index().presentEnd() : frames[size_t(display) + 1].present;
        return (fromTicks(start, index().timeBase()).ms() + fromTicks(end, index().timeBase()).ms()) / 2;
    }

    /// The number that ffmpeg decodes there. Frames at the start that lack what they refer to show the next one.
    [[nodiscard]] int expectedNumber(int display) const
    {
        const int lost = int(index().frames().size()) - int(m_numbers.size());
        return m_numbers[size_t(std::max(0, display - lost))];
    }

    [[nodiscard]] QImage grabbed(const std::shared_ptr<const Built>& built, double ms) const
    {
        const Result<QByteArray> png = FrameGrab::png(*built, ms, 10'000);
        EXPECT_TRUE(png) << (png ? "" : qPrintable(userText(png.error()))) << " at " << ms << " ms";
        return png ? QImage::fromData(*png, "PNG") : QImage();
    }

    QString m_path;
    std::vector<int> m_numbers; ///< Of the frames as ffmpeg decodes them, in its order.
    std::shared_ptr<const LoadedTake> m_loaded;
    std::shared_ptr<const Built> m_built;
};

TEST_P(MovieKinds, grabPreviewAndExportShowWhatFfmpegDecodes)
{
    load();
    ASSERT_FALSE(HasFatalFailure());
    const int count = int(index().frames().size());
    ASSERT_GE(count, int(m_numbers.size()));
    ASSERT_LE(count, int(m_numbers.size()) + 4);
    // Backwards, so that every grab seeks.
    for (int display = count - 1; display >= 0; --display)
        EXPECT_EQ(readFrameCode(grabbed(m_built, middleMs(display))), expectedNumber(display)) << "grab " << display;

    PreviewItems items;
    m_player->setItem(items.item(m_built));
    for (int display = 0; display < count; display += display < 8 ? 1 : 9) {
        ASSERT_TRUE(seekAndWait(middleMs(display)));
        EXPECT_EQ(shownNumber(), expectedNumber(display)) << "preview " << display;
    }

    ExportSettings settings;
    settings.codec = Codec::H264;
    settings.fps = 60;
    const QString path = m_folder.filePath(QStringLiteral("out.mp4"));
    const std::atomic<bool> cancelled = false;
    const Result<ExportReport> exported = Exporter::run(
        m_built, settings, path, [](double) {}, cancelled);
    ASSERT_TRUE(exported) << qPrintable(exported ? QString() : userText(exported.error()));
    std::vector<std::optional<int>> numbers;
    for (const ExportedMovie::Picture& picture : ExportedMovie(path).pictures())
        numbers.push_back(picture.number);
    EXPECT_EQ(withoutRepeats(numbers), m_numbers);

    // Nothing is scaled that is not meant to be.
    const QImage own = grabbed(m_built, middleMs(count - 1));
    const QImage coded = ExportedMovie(m_path).pictureAt(int(m_numbers.size()) - 1);
    const QImage decoded = coded.scaled(GetParam().shown, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    ASSERT_EQ(own.size(), GetParam().shown);
    EXPECT_GT(likeness(own, decoded), coded.size() == own.size() ? 40 : 25);
    EXPECT_GT(likeness(ExportedMovie(path).pictureAt(int(numbers.size()) - 1), decoded), 25);
}

TEST_P(MovieKinds, webcamOfItsKindShowsTheFace)
{
    load();
    ASSERT_FALSE(HasFatalFailure());
    Take files = take(m_folder.filePath(QStringLiteral("plain.mp4")), m_path);
    files.webcamOffsetMs = 100;
    const LoadedTake::Opened loaded = LoadedTake::load(files);
    ASSERT_TRUE(loaded) << qPrintable(loaded ? QString() : userText(loaded.error()));
    const int display = int(index().frames().size()) / 4;
    const double ms = middleMs(display) + files.webcamOffsetMs;
    const QImage image = grabbed(CompositionBuilder::build(*loaded, {{ms, ms + 500}}), 0);
    const FaceCircle circle = FaceCircle::in(image.width(), image.height());
    const QColor face
        = image.pixelColor(circle.left + circle.diameter * 2 / 3, circle.top + circle.diameter * 2 / 3).toHsv();
    EXPECT_NEAR(face.hue(), (expectedNumber(display) * 37) % 360, 6);
}

INSTANTIATE_TEST_SUITE_P(Kinds, MovieKinds, testing::ValuesIn(kinds()),
    [](const testing::TestParamInfo<Kind>& info) { return info.param.name; });

} // namespace kelmo
