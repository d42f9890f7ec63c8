#include "media/CompositionBuilder.h"
#include "media/Exporter.h"
#include "media/FrameGrab.h"
#include "media/stack/decode/AudioTrackReader.h"
#include "tests/media/ExportedMovie.h"
#include "tests/media/MadeTake.h"
#include "tests/media/PeakMemory.h"
#include "tools/moviemaker/FrameCode.h"
#include "tools/moviemaker/SoundCode.h"

#include <QProcess>
#include <QtEndian>

#include <gtest/gtest.h>

namespace kelmo {

namespace {

QString text(const char* latin) { return QString::fromLatin1(latin); }

/// A movie of a second and a half, its sound on the picture's clock.
CodedMovie shortMovie(const QTemporaryDir& folder, const QString& name)
{
    CodedMovie movie;
    movie.spec = smallMovie(folder, name);
    movie.spec.video->preset = text("veryfast");
    movie.spec.video->gopLength = 15;
    movie.spec.audio = {AudioSpec()};
    movie.times = steadyTimes(45, 20);
    movie.soundSeconds = 1.5;
    return movie;
}

Result<std::shared_ptr<const LoadedTake>> loaded(const QString& path)
{
    Take take;
    take.base = text("take");
    take.screenURL = QUrl::fromLocalFile(path);
    return LoadedTake::load(take);
}

QByteArray bytesOf(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

void write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

Result<ExportReport> exported(const std::shared_ptr<const LoadedTake>& take, const QString& path)
{
    ExportSettings settings;
    settings.codec = Codec::H264;
    const std::atomic<bool> cancelled = false;
    return Exporter::run(
        CompositionBuilder::build(take, {{0, take->durationMs}}), settings, path, [](double) {}, cancelled);
}

std::optional<int> numberAt(const std::shared_ptr<const LoadedTake>& take, double ms)
{
    const Result<VideoFrame> frame = FrameGrab::picture(*CompositionBuilder::build(take, {{0, take->durationMs}}), ms);
    EXPECT_TRUE(frame);
    return frame ? readFrameCode(frame->plane(0), frame->stride(0), frame->width(), frame->height()) : std::nullopt;
}

} // namespace

TEST(Containers, loadMovieWhoseEditOutlastsItsPicturesHoldsTheLastOne)
{
    const QTemporaryDir folder;
    for (const MovieLayout layout : {MovieLayout::TablesAtEnd, MovieLayout::FastStart}) {
        CodedMovie movie = shortMovie(folder, text("still.mov"));
        movie.spec.audio.clear();
        movie.spec.layout = layout;
        movie.videoEdits = {{48'000 * 2272 / 1000, 0}};
        make(movie);
        const auto take = loaded(movie.spec.path);
        ASSERT_TRUE(take);
        EXPECT_NEAR((*take)->durationMs, 2272, 1);
        EXPECT_EQ(numberAt(*take, 2270), 44);
        const QString out = folder.filePath(text("out.mp4"));
        ASSERT_TRUE(exported(*take, out));
        EXPECT_NEAR(ExportedMovie(out).durationMs(), 2272, 25);
        EXPECT_EQ(ExportedMovie(out).pictures().back().number, 44);
    }
    // What was cut off ends where it was cut off, whatever its head says.
    CodedMovie movie = shortMovie(folder, text("cut.mov"));
    movie.spec.layout = MovieLayout::FastStart;
    make(movie);
    const QByteArray bytes = bytesOf(movie.spec.path);
    write(movie.spec.path, bytes.first(bytes.size() * 6 / 10));
    const auto take = loaded(movie.spec.path);
    ASSERT_TRUE(take);
    EXPECT_LT((*take)->durationMs, 1200);
}

TEST(Containers, loadMovieWithoutEditsStartsWithItsEarliestStream)
{
    const QTemporaryDir folder;
    const CodedMovie movie = shortMovie(folder, text("a.mov"));
    make(movie);
    const std::vector<std::pair<const char*, const char*>> rows{{"plain.ts", "-c copy"},
        {"far.ts", "-c copy -output_ts_offset 59760"}, {"far.mkv", "-c copy -output_ts_offset 59760"},
        {"far.mp4", "-c copy -output_ts_offset 59760 -use_editlist 0 -movflags frag_keyframe+empty_moov"},
        {"plain.avi", "-c:v mpeg4 -bf 0 -q:v 2 -c:a pcm_s16le"}};
    for (const auto& [name, options] : rows) {
        SCOPED_TRACE(name);
        const QString path = folder.filePath(text(name));
        ASSERT_EQ(QProcess::execute(text("ffmpeg"),
                      QStringList{text("-v"), text("error"), text("-i"), movie.spec.path}
                          + text(options).split(QLatin1Char(' ')) + QStringList{path}),
            0);
        const auto take = loaded(path);
        ASSERT_TRUE(take) << qPrintable(userText(take.error()));
        EXPECT_NEAR((*take)->durationMs, 1520, 60);
        const double videoStart = (*take)->screenVideo.range.start.ms();
        const double soundStart = (*take)->screenAudio.front().range.start.ms();
        EXPECT_NEAR(std::min(videoStart, soundStart), 0, 0.01);
        EXPECT_EQ(numberAt(*take, videoStart + 501), 15);
        // Sound and picture stay together.
        const LoadedTake::Source& sound = (*take)->screenAudio.front();
        std::vector<float> both(2 * 4096);
        ASSERT_TRUE((*AudioTrackReader::open(sound.asset, *sound.track))->read(24'000, 4096, both.data()));
        std::vector<float> left;
        for (size_t at = 0; at < both.size(); at += 2)
            left.push_back(both[at]);
        const double expected = 24'000 - videoStart * 48;
        const auto found = SoundCode(1).findPosition(left, 48'000, 20'000, 28'000);
        ASSERT_TRUE(found);
        EXPECT_NEAR(*found, expected, 60);
    }
}

TEST(Containers, loadFragmentsThatClaimTooManySamplesTakesLittleMemory)
{
    const QTemporaryDir folder;
    CodedMovie movie = shortMovie(folder, text("fragments.mp4"));
    movie.spec.layout = MovieLayout::Fragmented;
    make(movie);
    const QByteArray good = bytesOf(movie.spec.path);
    // As it is, of no table at all, and with each of its samples' numbers in it.
    for (const uint32_t flags : {0U, 1U, 0x701U}) {
        for (const uint32_t count : {100'000'000U, 170'000'000U, 0xffffffffU}) {
            SCOPED_TRACE(testing::Message() << flags << " " << count);
            QByteArray bytes = good;
            for (qsizetype at = bytes.indexOf("trun"); at > 0; at = bytes.indexOf("trun", at + 4)) {
                qToBigEndian(flags ? flags : qFromBigEndian<uint32_t>(bytes.data() + at + 4), bytes.data() + at + 4);
                qToBigEndian(count, bytes.data() + at + 8);
            }
            write(movie.spec.path, bytes);
            (void)peakMemory();
            const int64_t before = peakMemory();
            const auto take = loaded(movie.spec.path);
            EXPECT_LT(peakMemory() - before, 100 << 20);
            if (flags == 0) {
                ASSERT_TRUE(take) << "the tables themselves are whole";
                EXPECT_EQ(numberAt(*take, 1001), 30);
            }
        }
    }
}

TEST(Containers, loadWhatIsNoMovieSaysWhatItIs)
{
    const QTemporaryDir folder;
    struct Row {
        const char* name;
        const char* arguments; ///< Of ffmpeg.
        const char* says;
    };
    const Row rows[] = {{"a.png", "-f lavfi -i testsrc -frames:v 1", "it is a PNG image;"},
        {"a.jpg", "-f lavfi -i testsrc -frames:v 1", "it is a JPEG image;"},
        {"a.gif", "-f lavfi -i testsrc -t 0.2", "it is a GIF image;"},
        {"a.wav", "-f lavfi -i sine -t 0.2", "it is a WAV sound file;"},
        {"a.mp3", "-f lavfi -i sine -t 0.2", "it is an MP3 sound file;"},
        {"a.ogg", "-f lavfi -i sine -t 0.2 -c:a libvorbis", "it is an Ogg file;"},
        {"a.flac", "-f lavfi -i sine -t 0.2", "it is a FLAC sound file;"},
        {"a.flv", "-f lavfi -i testsrc -t 0.2 -c:v flv1", "it is a Flash video;"},
        {"a.wmv", "-f lavfi -i testsrc -t 0.2", "it is a Windows Media file;"},
        {"a.mpg", "-f lavfi -i testsrc -t 0.2", "it is an MPEG program stream;"},
        {"a.m2v", "-f lavfi -i testsrc -t 0.2", "it is a bare MPEG video;"}};
    for (const Row& row : rows) {
        const QString path = folder.filePath(text(row.name));
        ASSERT_EQ(QProcess::execute(text("ffmpeg"),
                      QStringList{text("-v"), text("error")} + text(row.arguments).split(QLatin1Char(' '))
                          + QStringList{path}),
            0);
        const auto take = loaded(path);
        ASSERT_FALSE(take) << row.name;
        EXPECT_TRUE(userText(take.error()).contains(text(row.says))) << qPrintable(userText(take.error()));
        EXPECT_TRUE(userText(take.error()).endsWith(text("MOV, MP4, MKV, WebM, AVI and TS movies can be opened")));
    }
    write(folder.filePath(text("notes.mov")), "Monday: record the talk, and cut it.\n");
    EXPECT_EQ(userText(loaded(folder.filePath(text("notes.mov"))).error()),
        QStringLiteral(
            "Can’t open notes.mov: it is a text file; MOV, MP4, MKV, WebM, AVI and TS movies can be opened"));
}

TEST(Containers, exportWithDamagedSoundHeadersHasThePicturesAndSaysSo)
{
    const QTemporaryDir folder;
    struct Row {
        const char* name;
        const char* codec;
        const char* header; ///< The last place where this stands is where the decoder's settings are,
        int behind; ///< so many bytes behind it.
    };
    for (const Row& row : {Row{"deaf.mkv", "libvorbis", "\5vorbis", 7}, Row{"deaf.mov", "alac", "alac", 8}}) {
        SCOPED_TRACE(row.name);
        CodedMovie movie = shortMovie(folder, text(row.name));
        movie.spec.audio.resize(2);
        movie.spec.audio[0].codec = text(row.codec);
        movie.spec.audio[1].codec = text("pcm_s16le");
        make(movie);
        QByteArray bytes = bytesOf(movie.spec.path);
        const qsizetype header = bytes.lastIndexOf(row.header);
        ASSERT_GT(header, 0);
        std::fill_n(bytes.begin() + header + row.behind, 16, char(0xff));
        write(movie.spec.path, bytes);
        const auto take = loaded(movie.spec.path);
        ASSERT_TRUE(take) << qPrintable(userText(take.error()));
        const QString out = folder.filePath(text("out.mp4"));
        const Result<ExportReport> report = exported(*take, out);
        ASSERT_TRUE(report) << qPrintable(userText(report.error()));
        ASSERT_EQ(report->notices.size(), 1);
        EXPECT_TRUE(report->notices.front().startsWith(QStringLiteral("Can’t play the sound of ") + text(row.name)))
            << qPrintable(report->notices.front());
        EXPECT_EQ(ExportedMovie(out).pictures().size(), 45U);
        EXPECT_FALSE(ExportedMovie(out).probe(text("a"), text("stream=codec_name")).isEmpty()) << "of the other track";
    }
}

} // namespace kelmo
