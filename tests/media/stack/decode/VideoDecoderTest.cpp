#include "media/stack/decode/VideoDecoder.h"

#include "media/stack/container/AssetOpening.h"
#include "media/stack/container/PacketScan.h"
#include "media/stack/decode/FrameSequence.h"
#include "media/stack/picture/FrameConverter.h"
#include "tests/movies/CodedMovie.h"
#include "tools/moviemaker/FrameCode.h"

#include <QProcess>

#include <gtest/gtest.h>

#include <random>

namespace kelmo {

namespace {

/// A movie, and what it must show: the number of the picture at each moment, worked out from how it was made.
struct Case {
    const char* name;
    const char* file;
    std::function<void(CodedMovie&)> change;
};

// The name of a test ends in it.
[[maybe_unused]] void PrintTo(const Case& each, std::ostream* out) { *out << each.name; }

QString text(const char* latin) { return QString::fromLatin1(latin); }

const std::vector<Case>& cases()
{
    static const std::vector<Case> all{
        {"steadyWithBFrames", "a.mov", [](CodedMovie& m) { m.spec.video->preset = text("veryfast"); }},
        {"sixtyWithoutBFrames", "a.mov",
            [](CodedMovie& m) {
                m.spec.video->bFrames = 0;
                m.times = steadyTimes(200, 10);
            }},
        {"openGroupsUnevenTimes", "a.mp4",
            [](CodedMovie& m) {
                m.spec.video->preset = text("veryfast");
                m.spec.video->openGop = m.spec.video->bPyramid = true;
                m.spec.video->bFrames = 4;
                m.spec.video->gopLength = 24;
                m.times = unevenTimes(200, 7, 140, 3);
            }},
        {"hevcOpenGroups", "a.mov",
            [](CodedMovie& m) {
                m.spec.video->codec = text("hevc");
                m.spec.video->preset = text("superfast");
                m.spec.video->openGop = true;
                m.spec.video->bFrames = 3;
                m.spec.video->gopLength = 24;
            }},
        {"editStartsBetweenFrames", "a.mov",
            [](CodedMovie& m) {
                m.spec.video->preset = text("veryfast");
                m.videoEdits = {{48000 * 3, 613}};
            }},
        {"editStartsOnBFrameAfterPause", "a.mov",
            [](CodedMovie& m) {
                m.spec.video->preset = text("veryfast");
                m.spec.video->bFrames = 3;
                m.videoEdits = {{24000, EditListEntry::Empty}, {48000 * 3, 660}};
            }},
        {"threeEdits", "a.mov",
            [](CodedMovie& m) {
                m.videoEdits = {{48000, 1200}, {24000, 40}, {48000 * 2, 1810}};
            }},
        {"offsetsBelowZero", "a.mov",
            [](CodedMovie& m) {
                m.spec.video->preset = text("veryfast");
                m.spec.muxerOptions[text("movflags")] = text("+negative_cts_offsets");
            }},
        {"startsLate", "a.mov", [](CodedMovie& m) { m.times = steadyTimes(150, 20, 450); }},
        {"fragmented", "a.mp4", [](CodedMovie& m) { m.spec.layout = MovieLayout::Fragmented; }},
        {"tablesInFront", "a.mp4", [](CodedMovie& m) { m.spec.layout = MovieLayout::FastStart; }},
        {"matroska", "a.mkv",
            [](CodedMovie& m) {
                m.spec.video->preset = text("veryfast");
                m.spec.video->timeBase = {1, 1000};
                m.times = unevenTimes(150, 15, 200, 9);
            }},
        {"turned", "a.mov",
            [](CodedMovie& m) {
                m.spec.video->rotation = 90;
                m.spec.video->width = 180;
                m.spec.video->height = 320;
            }},
        {"tenBits", "a.mov",
            [](CodedMovie& m) {
                m.spec.video->codec = text("hevc");
                m.spec.video->pixelFormat = text("yuv420p10");
            }},
        {"oddSizeFullChroma", "a.mov",
            [](CodedMovie& m) {
                m.spec.video->pixelFormat = text("yuv444p");
                m.spec.video->width = 321;
                m.spec.video->height = 181;
            }},
        {"everyFrameAKey", "a.mov",
            [](CodedMovie& m) {
                m.spec.video->codec = text("prores_ks");
                m.spec.video->pixelFormat = text("yuv422p10");
            }},
    };
    return all;
}

/// The number shown at `ms` by the movie as it was made; none before its first picture.
std::optional<int> madeAt(const CodedMovie& movie, double ms)
{
    const double tick = 1000.0 * movie.spec.video->timeBase.numerator / movie.spec.video->timeBase.denominator;
    double mediaMs = ms;
    if (!movie.videoEdits.empty()) {
        double start = 0;
        std::optional<double> found;
        for (const EditListEntry& edit : movie.videoEdits) {
            const double length = 1000.0 * double(edit.segmentDuration) / movie.spec.movieTimescale;
            if (ms >= start && ms < start + length && edit.mediaTime != EditListEntry::Empty)
                found = double(edit.mediaTime) * tick + (ms - start);
            start += length;
        }
        if (!found)
            return std::nullopt;
        mediaMs = *found;
    }
    std::optional<int> shown;
    for (size_t i = 0; i < movie.times.size() && double(movie.times[i]) * tick <= mediaMs; ++i)
        shown = int(i);
    return shown;
}

} // namespace

class VideoDecoderFormats : public testing::TestWithParam<Case> {
protected:
    void SetUp() override
    {
        m_movie.spec = smallMovie(m_folder, text(GetParam().file));
        m_movie.times = steadyTimes(200, 20);
        GetParam().change(m_movie);
        make(m_movie);
        ASSERT_FALSE(HasFatalFailure());
        Result<std::shared_ptr<const Asset>> asset = Asset::open(m_movie.spec.path);
        ASSERT_TRUE(asset) << qPrintable(userText(asset.error()));
        m_asset = *asset;
        ASSERT_EQ(m_asset->tracks().size(), 1U);
        m_track = &m_asset->tracks().front();
        m_converter.emplace(
            m_track->uprightWidth(), m_track->uprightHeight(), m_track->quarterTurns, m_track->color, Scaling::Fine);
    }

    std::unique_ptr<VideoDecoder> decoder() const
    {
        Result<std::unique_ptr<VideoDecoder>> opened = VideoDecoder::open(m_asset, *m_track, 2);
        return opened ? std::move(*opened) : nullptr;
    }

    std::optional<int> numberIn(const Result<VideoFrame>& frame)
    {
        if (!frame)
            return std::nullopt;
        // A turned movie was painted lying down, so its number is read from the picture as coded.
        if (m_track->quarterTurns)
            return readFrameCode(frame->plane(0), frame->stride(0), frame->width(), frame->height());
        const VideoFrame picture = m_converter->convert(*frame);
        return readFrameCode(picture.plane(0), picture.stride(0), picture.width(), picture.height());
    }

    /// Middles of what each picture shows, where rounding of edit lists to ticks cannot matter.
    std::vector<double> momentsMs() const
    {
        std::vector<double> moments;
        const Ratio base = m_track->index.timeBase();
        const auto& frames = m_track->index.frames();
        for (size_t i = 0; i < frames.size(); ++i) {
            const int64_t next = i + 1 < frames.size() ? frames[i + 1].present : m_track->index.presentEnd();
            moments.push_back(1000.0 * double(frames[i].present + next) / 2 * double(base.num) / double(base.den));
        }
        return moments;
    }

    int frameAt(double ms) const { return *m_track->index.frameAt(ExactTime::of(MediaTime::fromMs(ms))); }

    QTemporaryDir m_folder;
    CodedMovie m_movie;
    std::shared_ptr<const Asset> m_asset;
    const Track* m_track = nullptr;
    std::optional<FrameConverter> m_converter;
};

TEST_P(VideoDecoderFormats, frameInAnyOrderShowsWhatWasMade)
{
    const std::vector<double> moments = momentsMs();
    ASSERT_GT(moments.size(), 50U);
    const std::unique_ptr<VideoDecoder> jumping = decoder();
    ASSERT_TRUE(jumping);
    std::minstd_rand random(7);
    for (int i = 0; i < 40; ++i) {
        const double ms = moments[random() % moments.size()];
        EXPECT_EQ(numberIn(jumping->frame(frameAt(ms))), madeAt(m_movie, ms)) << "jump to " << ms << " ms";
    }
    const std::unique_ptr<VideoDecoder> reading = decoder();
    for (const double ms : moments)
        ASSERT_EQ(numberIn(reading->frame(frameAt(ms))), madeAt(m_movie, ms)) << "reading at " << ms << " ms";
    // Near the ends of the file, where decoders are drained.
    EXPECT_EQ(numberIn(reading->frame(frameAt(moments.back()))), madeAt(m_movie, moments.back()));
    EXPECT_EQ(numberIn(reading->frame(frameAt(moments.front()))), madeAt(m_movie, moments.front()));
    EXPECT_EQ(
        numberIn(reading->frame(frameAt(moments[moments.size() - 2]))), madeAt(m_movie, moments[moments.size() - 2]));
}

TEST_P(VideoDecoderFormats, sequenceWithGapsAndRepeatsShowsWhatWasMade)
{
    const std::vector<double> moments = momentsMs();
    std::vector<double> wanted;
    std::minstd_rand random(11);
    // Every second picture, then pieces with jumps forward and one back, with repeats, as edits and grids ask for them.
    for (size_t i = 0; i < moments.size() / 3; i += 2)
        wanted.push_back(moments[i]);
    for (size_t at = moments.size() / 3; at + 12 < moments.size(); at += 9 + random() % 20) {
        for (size_t i = 0; i < 5; ++i) {
            wanted.push_back(moments[at + i]);
            wanted.push_back(moments[at + i]);
        }
    }
    for (size_t i = 10; i < 25; ++i)
        wanted.push_back(moments[i]);
    std::vector<int> frames;
    frames.reserve(wanted.size());
    for (const double ms : wanted)
        frames.push_back(frameAt(ms));
    FrameSequence sequence(decoder(), frames);
    for (const double ms : wanted)
        ASSERT_EQ(numberIn(sequence.next()), madeAt(m_movie, ms)) << "at " << ms << " ms";
}

TEST_P(VideoDecoderFormats, singleLooksWithAPlanShowWhatWasMade)
{
    const std::vector<double> moments = momentsMs();
    const std::unique_ptr<VideoDecoder> looking = decoder();
    std::minstd_rand random(5);
    for (int i = 0; i < 25; ++i) {
        // Now and then a neighbour of the last look, which may have been skipped then.
        const size_t at = i % 3 ? random() % moments.size() : std::min(moments.size() - 1, size_t(i));
        const int display = frameAt(moments[at]);
        looking->expect(std::array{display});
        EXPECT_EQ(numberIn(looking->frame(display)), madeAt(m_movie, moments[at])) << "at " << moments[at] << " ms";
    }
}

TEST_P(VideoDecoderFormats, framesGivenUpOnTheWayAndOthersAfterThemShowWhatWasMade)
{
    const std::vector<double> moments = momentsMs();
    const std::unique_ptr<VideoDecoder> looking = decoder();
    const auto cache = std::make_shared<FrameCache>(4 << 20);
    looking->keepIn(cache);
    std::minstd_rand random(3);
    for (int i = 0; i < 40; ++i) {
        // What is given up leaves the decoder anywhere; now and then playing thins out in between.
        int packets = int(random() % 12);
        looking->setWanted(nullptr, i % 5 == 0);
        (void)looking->frame(frameAt(moments[random() % moments.size()]), [&] { return packets-- == 0; });
        looking->setWanted(nullptr);
        const double ms = moments[random() % moments.size()];
        const int display = frameAt(ms);
        ASSERT_EQ(numberIn(looking->frame(display)), madeAt(m_movie, ms)) << "at " << ms << " ms";
        for (int near = std::max(0, display - 12); near <= display; ++near) {
            const VideoFrame kept = cache->find(m_track->index.sampleOf(near).pts);
            if (kept) {
                ASSERT_EQ(numberIn(kept), madeAt(m_movie, moments[size_t(near)])) << "kept for " << near;
            }
        }
    }
}

TEST_P(VideoDecoderFormats, samplesOfTheTablesAreThoseThatTheDemuxerDelivers)
{
    QFile file(m_movie.spec.path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const MovBoxes boxes = MovBoxes::read(file);
    const bool isPlain
        = m_movie.spec.layout != MovieLayout::Fragmented && !m_movie.spec.path.endsWith(QLatin1String(".mkv"));
    ASSERT_EQ(boxes.isPlain, isPlain);
    if (!isPlain)
        return;
    Result<AvHandle<AVFormatContext>> input = openContainer(m_movie.spec.path);
    AVFormatContext& format = **input;
    format.flags |= AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN;
    const std::optional<StreamSamples> tabled
        = readSampleTable(boxes.tracks.at(format.streams[0]->id), file.size(), std::nullopt);
    const std::optional<std::vector<StreamSamples>> stepped = scanPackets(format, {0}, file.size());
    ASSERT_TRUE(tabled);
    ASSERT_EQ(tabled->samples.size(), stepped->front().samples.size());
    for (size_t i = 0; i < tabled->samples.size(); ++i) {
        const Sample& a = tabled->samples[i];
        const Sample& b = stepped->front().samples[i];
        ASSERT_EQ(
            std::tuple(a.pts, a.dts, a.position, a.size, a.key), std::tuple(b.pts, b.dts, b.position, b.size, b.key))
            << "sample " << i;
    }
}

/// An old x264 is made by writing another version into a movie. What decodes it by that version gets other pictures
/// than were coded; ffmpeg reads from the start of the file and has heard of the version.
TEST(VideoDecoder, frameOfAnOldEncoderIsDecodedAsItsVersionAsksFor)
{
    constexpr int width = 48;
    constexpr int height = 32;
    constexpr size_t frameSize = size_t(width) * height * 3;
    const QTemporaryDir folder;
    const QString path = folder.filePath(text("old.mp4"));
    const auto ffmpeg = [](const QString& arguments) {
        QProcess process;
        process.start(text("ffmpeg"), QString(text("-v error -y ") % arguments).split(QLatin1Char(' ')));
        EXPECT_TRUE(process.waitForFinished(60'000));
        return process.readAllStandardOutput();
    };
    ffmpeg(text("-f lavfi -i mandelbrot=s=48x32:r=30 -t 0.6 -pix_fmt yuv444p -c:v libx264 -g 1 -crf 32 -preset medium ")
        % path);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    const QByteArray made = file.readAll();
    const auto decoded = [&] { return ffmpeg(text("-i ") % path % text(" -f rawvideo -")); };
    const QByteArray coded = decoded();
    const qsizetype version = made.indexOf("x264 - core ") + 12;
    ASSERT_GT(version, 12);
    file.seek(version);
    file.write("142");
    file.close();
    const QByteArray old = decoded();
    ASSERT_EQ(old.size(), qsizetype(18 * frameSize));
    ASSERT_NE(old, coded) << "this encoder makes no difference between versions";

    const std::shared_ptr<const Asset> asset = *Asset::open(path);
    const Track& track = asset->tracks().front();
    for (int display = 0; display < 18; ++display) {
        const Result<std::unique_ptr<VideoDecoder>> fresh = VideoDecoder::open(asset, track, 1);
        ASSERT_TRUE(fresh);
        const Result<VideoFrame> frame = (*fresh)->frame(display);
        ASSERT_TRUE(frame);
        QByteArray planes;
        for (int plane = 0; plane < 3; ++plane) {
            for (int y = 0; y < height; ++y)
                planes.append(
                    reinterpret_cast<const char*>(frame->plane(plane) + ptrdiff_t(y) * frame->stride(plane)), width);
        }
        EXPECT_TRUE(planes == old.mid(qsizetype(size_t(display) * frameSize), qsizetype(frameSize)))
            << "frame " << display;
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, VideoDecoderFormats, testing::ValuesIn(cases()),
    [](const testing::TestParamInfo<Case>& info) { return info.param.name; });

} // namespace kelmo
