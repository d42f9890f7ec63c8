#include "media/Exporter.h"
#include "media/FrameGrab.h"
#include "media/stack/picture/FrameConverter.h"
#include "tests/media/ExportedMovie.h"
#include "tests/media/MadeTake.h"

#include <QtEndian>

#include <gtest/gtest.h>

namespace kelmo {

namespace {

using Rgb = std::array<double, 3>;
const Rgb patches[] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {128, 128, 128}, {224, 172, 140}};
constexpr int patchCount = int(std::size(patches));

/// What a matrix is made of: how much red and blue weigh in the luma.
struct Matrix {
    double red, blue;
};
constexpr Matrix bt709{0.2126, 0.0722};
constexpr Matrix bt601{0.299, 0.114};

std::array<int, 3> coded(const Rgb& rgb, Matrix matrix, bool fullRange)
{
    const double luma = matrix.red * rgb[0] + (1 - matrix.red - matrix.blue) * rgb[1] + matrix.blue * rgb[2];
    const double blue = (rgb[2] - luma) / (2 * (1 - matrix.blue));
    const double red = (rgb[0] - luma) / (2 * (1 - matrix.red));
    if (fullRange)
        return {int(std::lround(luma)), std::min(255, int(std::lround(128 + blue))),
            std::min(255, int(std::lround(128 + red)))};
    return {int(std::lround(16 + luma * 219 / 255)), int(std::lround(128 + blue * 224 / 255)),
        int(std::lround(128 + red * 224 / 255))};
}

Rgb decoded(const std::array<int, 3>& yuv, Matrix matrix, bool fullRange)
{
    const double luma = fullRange ? yuv[0] : (yuv[0] - 16) * 255.0 / 219;
    const double blue = (yuv[1] - 128) * (fullRange ? 1 : 255.0 / 224);
    const double red = (yuv[2] - 128) * (fullRange ? 1 : 255.0 / 224);
    const double r = luma + 2 * (1 - matrix.red) * red;
    const double b = luma + 2 * (1 - matrix.blue) * blue;
    const double g = (luma - matrix.red * r - matrix.blue * b) / (1 - matrix.red - matrix.blue);
    return {std::clamp(r, 0.0, 255.0), std::clamp(g, 0.0, 255.0), std::clamp(b, 0.0, 255.0)};
}

/// A source, how its numbers are meant, and what an export of it has to say.
struct Case {
    const char* what;
    int width, height;
    ColourTags tags;
    const char* pixelFormat;
    Matrix matrix;
    bool fullRange;
    const char* expected; ///< Of matrix, transfer and primaries.
    int codePoint;
};

ColourTags tagged(const char* name, const char* range)
{
    const QString all = QString::fromLatin1(name);
    return {all, all, all, QString::fromLatin1(range)};
}

std::vector<Case> cases()
{
    return {
        {"tagged 709", 800, 600, tagged("bt709", "tv"), "yuv420p", bt709, false, "bt709", 1},
        {"tagged 601", 800, 600, tagged("smpte170m", "tv"), "yuv420p", bt601, false, "smpte170m", 6},
        {"small but tagged 709", 480, 360, tagged("bt709", "tv"), "yuv420p", bt709, false, "bt709", 1},
        {"untagged HD", 800, 600, {}, "yuv420p", bt709, false, "bt709", 1},
        {"untagged SD", 768, 576, {}, "yuv420p", bt601, false, "smpte170m", 6},
        {"full range", 800, 600, tagged("bt709", "pc"), "yuvj420p", bt709, true, "bt709", 1},
    };
}

void paint(const PicturePlanes& planes, const Case& source)
{
    for (size_t plane = 0; plane < 3; ++plane) {
        const int shift = plane > 0;
        for (int y = 0; y < planes.height >> shift; ++y) {
            for (int x = 0; x < planes.width >> shift; ++x) {
                const Rgb& patch = patches[std::min(patchCount - 1, (x << shift) * patchCount / planes.width)];
                planes.data[plane][y * planes.stride[plane] + x]
                    = uint8_t(coded(patch, source.matrix, source.fullRange)[plane]);
            }
        }
    }
}

/// Makes the source and loads it.
void make(MadeTake& take, const Case& source)
{
    MovieSpec spec = take.screen.spec;
    spec.audio.clear();
    spec.video->width = source.width;
    spec.video->height = source.height;
    spec.video->colour = source.tags;
    spec.video->pixelFormat = QString::fromLatin1(source.pixelFormat);
    spec.video->crf = 1;
    Result<MovieMaker> maker = MovieMaker::create(spec);
    ASSERT_TRUE(maker) << source.what << ": " << qPrintable(userText(maker.error()));
    for (int i = 0; i < 30; ++i)
        ASSERT_TRUE(maker->addVideoFrame([&](const PicturePlanes& planes) { paint(planes, source); }, 20 * i));
    ASSERT_TRUE(maker->finish());
    take.loadMade();
}

void expectPatches(const QImage& image, const Case& source, const char* where)
{
    ASSERT_FALSE(image.isNull());
    for (int patch = 0; patch < patchCount; ++patch) {
        const Rgb expected
            = decoded(coded(patches[patch], source.matrix, source.fullRange), source.matrix, source.fullRange);
        const int centre = image.width() * (2 * patch + 1) / (2 * patchCount);
        Rgb mean{};
        for (int i = 0; i < 64; ++i) {
            const QRgb pixel = image.pixel(centre - 4 + i % 8, image.height() / 2 - 4 + i / 8);
            mean[0] += qRed(pixel) / 64.0;
            mean[1] += qGreen(pixel) / 64.0;
            mean[2] += qBlue(pixel) / 64.0;
        }
        for (size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(mean[i], expected[i], 2)
                << source.what << ", " << where << ", patch " << patch << ", channel " << i;
    }
}

void expectTags(const QString& path, const Case& source, const char* where)
{
    const QString entries = QStringLiteral("stream=color_range,color_space,color_transfer,color_primaries");
    const QString name = QString::fromLatin1(source.expected);
    const QString expected = QStringLiteral("color_range=%1 color_space=%2 color_transfer=%2 color_primaries=%2")
                                 .arg(source.fullRange ? QStringLiteral("pc") : QStringLiteral("tv"), name);
    const ExportedMovie movie(path);
    EXPECT_EQ(movie.probe(QStringLiteral("v"), entries).simplified(), expected) << source.what << ", " << where;
    EXPECT_EQ(movie.probeBareVideo(entries).simplified(), expected) << source.what << ", " << where << ", the stream";
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    const qsizetype box = bytes.indexOf("colrnclx");
    ASSERT_GT(box, 0) << source.what << ": the container says nothing of colours";
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(qFromBigEndian<quint16>(bytes.constData() + box + 8 + 2 * i), source.codePoint) << source.what;
    EXPECT_EQ(uint8_t(bytes[box + 14]) >> 7, int(source.fullRange)) << source.what;
}

} // namespace

TEST(Color, exportedAndGrabbedColoursAreTheSources)
{
    for (const Case& source : cases()) {
        MadeTake take;
        make(take, source);
        ASSERT_FALSE(testing::Test::HasFatalFailure());
        const std::shared_ptr<const Built> built = take.build({{0, 1000}});
        const Result<QByteArray> png = FrameGrab::png(*built, 100, 400);
        ASSERT_TRUE(png);
        expectPatches(QImage::fromData(*png, "PNG"), source, "grabbed");
        for (const CodecTraits& codec : allCodecs()) {
            for (const std::optional<int> height : {std::optional<int>(), std::optional(270)}) {
                ExportSettings settings;
                settings.codec = codec.codec;
                settings.height = height;
                const QString path
                    = take.file(codec.name % QString::number(height.value_or(0)) % QStringLiteral(".mp4"));
                const std::atomic<bool> cancelled = false;
                const Result<ExportReport> report = Exporter::run(
                    built, settings, path, [](double) {}, cancelled);
                ASSERT_TRUE(report) << qPrintable(userText(report.error()));
                const QByteArray where = (codec.name % (height ? QStringLiteral(" scaled") : QString())).toUtf8();
                expectPatches(ExportedMovie(path).pictureAt(28), source, where.constData());
                expectTags(path, source, where.constData());
            }
        }
    }
}

TEST(Color, turnedPicturesSayWhatTheyWereTakenFor)
{
    // Of 480 lines as coded, 720 once upright: what was assumed for decoding must hold for encoding, too.
    const VideoFrame coded = FramePool(720, 480).black({});
    for (const int turns : {0, 1, 2, 3}) {
        const bool lying = turns % 2 == 0;
        FrameConverter converter(lying ? 720 : 480, lying ? 480 : 720, turns, {}, Scaling::Fine);
        EXPECT_EQ(converter.convert(coded).color(), (ColorTags{6, 6, 6, false})) << turns;
    }
    FrameConverter known(720, 480, 0, {1, 1, 1, false}, Scaling::Fine);
    EXPECT_EQ(known.convert(coded).color(), (ColorTags{1, 1, 1, false})) << "the container knows more";
}

} // namespace kelmo
