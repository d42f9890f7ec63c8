#include "media/Exporter.h"
#include "media/FrameGrab.h"
#include "tests/media/MadeTake.h"

#include <QElapsedTimer>
#include <QtEndian>

#include <gtest/gtest.h>

#include <random>
#include <thread>

namespace kelmo {

namespace {

/// How a movie went bad: from the bytes of a good one to the file that is opened.
struct BadMovie {
    const char* name;
    enum Outcome { Refused, Opens, Either } outcome;
    std::function<void(QByteArray&)> spoil;
    const char* from = "good.mov";
};

/// The places where a box of this type begins, at its four letters.
std::vector<qsizetype> boxes(const QByteArray& bytes, const char* type)
{
    std::vector<qsizetype> found;
    for (qsizetype at = bytes.indexOf(type, bytes.indexOf("moov")); at > 0; at = bytes.indexOf(type, at + 4))
        found.push_back(at);
    return found;
}

void put(QByteArray& bytes, qsizetype at, quint32 value)
{
    if (at + 4 <= bytes.size())
        qToBigEndian(value, bytes.data() + at);
}

/// Writes a number into every box of a type, some bytes behind its letters.
std::function<void(QByteArray&)> patched(const char* type, int behind, quint32 value)
{
    return [=](QByteArray& bytes) {
        const std::vector<qsizetype> places = boxes(bytes, type);
        ASSERT_FALSE(places.empty()) << type;
        for (const qsizetype at : places)
            put(bytes, at + behind, value);
    };
}

std::function<void(QByteArray&)> both(
    const std::function<void(QByteArray&)>& first, const std::function<void(QByteArray&)>& second)
{
    return [=](QByteArray& bytes) {
        first(bytes);
        second(bytes);
    };
}

std::function<void(QByteArray&)> flipped(const char* inside, unsigned seed, int count)
{
    return [=](QByteArray& bytes) {
        const qsizetype from = bytes.indexOf(inside) + 12; // ThreadPriority a wide size.
        const bool media = qstrcmp(inside, "mdat") == 0;
        const qsizetype to = media ? bytes.indexOf("moov") - 4 : bytes.size();
        std::minstd_rand random(seed);
        for (int i = 0; i < count; ++i)
            bytes[from + qsizetype(random() % unsigned(to - from))] = char(random() >> 7);
    };
}

void cut(QByteArray& bytes, double share) { bytes.truncate(qsizetype(double(bytes.size()) * share)); }

constexpr quint32 most = 0xffffffff;

std::vector<BadMovie> badMovies()
{
    std::vector<BadMovie> all{
        {"empty", BadMovie::Refused, [](QByteArray& bytes) { bytes.clear(); }},
        {"one byte", BadMovie::Refused, [](QByteArray& bytes) { bytes = "x"; }},
        {"zeros", BadMovie::Refused, [](QByteArray& bytes) { bytes.fill('\0'); }},
        {"text", BadMovie::Refused, [](QByteArray& bytes) { bytes = QByteArray("{\"words\": []}\n").repeated(999); }},
        {"playlist", BadMovie::Refused,
            [](QByteArray& bytes) { bytes = "#EXTM3U\n#EXTINF:1,\nfile:///etc/passwd\n#EXT-X-ENDLIST\n"; }},
        {"random", BadMovie::Refused,
            [](QByteArray& bytes) {
                std::minstd_rand random(1);
                for (char& byte : bytes)
                    byte = char(random() >> 9);
            }},
        {"unfinished", BadMovie::Refused, [](QByteArray& bytes) { cut(bytes, 0.5); }},
        {"without its last byte", BadMovie::Refused, [](QByteArray& bytes) { bytes.chop(1); }},
        {"half downloaded", BadMovie::Opens, [](QByteArray& bytes) { cut(bytes, 0.5); }, "front.mov"},
        {"a few bytes downloaded", BadMovie::Either, [](QByteArray& bytes) { cut(bytes, 0.05); }, "front.mov"},
        {"sparse damage in the media", BadMovie::Opens, flipped("mdat", 3, 40)},
        {"much damage in the media", BadMovie::Opens, flipped("mdat", 4, 20'000)},
        {"media of nothing but zeros", BadMovie::Opens,
            [](QByteArray& bytes) {
                const qsizetype from = bytes.indexOf("mdat") + 12;
                std::fill(bytes.begin() + from, bytes.begin() + bytes.indexOf("moov") - 8, '\0');
            }},
        {"sizes of 4 G samples", BadMovie::Either, patched("stsz", 12, most)},
        {"4 G samples of one byte", BadMovie::Either, both(patched("stsz", 8, 1), patched("stsz", 12, most))},
        {"90 M samples of one byte", BadMovie::Either, both(patched("stsz", 8, 1), patched("stsz", 12, 90'000'000))},
        {"samples larger than the file", BadMovie::Either, patched("stsz", 16, 0x7fffffff)},
        {"4 G durations", BadMovie::Either, patched("stts", 8, most)},
        {"a duration for 4 G samples", BadMovie::Either, patched("stts", 12, most)},
        {"samples of no length", BadMovie::Either, patched("stts", 16, 0)},
        {"samples of centuries", BadMovie::Either, patched("stts", 16, 0x7fffffff)},
        {"4 G chunks", BadMovie::Either, patched("stco", 8, most)},
        {"chunks elsewhere", BadMovie::Either, patched("stco", 12, most)},
        {"4 G chunk runs", BadMovie::Either, patched("stsc", 8, most)},
        {"chunks of 4 G samples", BadMovie::Either, patched("stsc", 16, most)},
        {"4 G offsets", BadMovie::Either, patched("ctts", 8, most)},
        {"offsets of centuries", BadMovie::Either, patched("ctts", 16, 0x7fffffff)},
        {"a fragment of 4 G samples", BadMovie::Either, patched("trun", 8, most), "fragments.mov"},
        {"a fragment of 250 M samples without tables", BadMovie::Either,
            both(patched("trun", 4, 1), patched("trun", 8, 250'000'000)), "fragments.mov"},
        {"half of the fragments", BadMovie::Opens, [](QByteArray& bytes) { cut(bytes, 0.6); }, "fragments.mov"},
        {"no time scale", BadMovie::Either, patched("mdhd", 16, 0)},
        {"a time scale of 4 G", BadMovie::Either, patched("mdhd", 16, most)},
        {"no time scale of the movie", BadMovie::Either, patched("mvhd", 16, 0)},
        {"a length of centuries", BadMovie::Either, patched("mdhd", 20, most)},
        {"edits of centuries", BadMovie::Either, both(patched("elst", 12, most), patched("mvhd", 16, 1))},
        {"edits from far behind the end", BadMovie::Either, patched("elst", 16, 0x7fffffff)},
        {"edits of nothing", BadMovie::Either, patched("elst", 16, most)},
        {"4 G edits", BadMovie::Either, patched("elst", 8, most)},
        {"pictures of no size", BadMovie::Either, patched("avc1", 28, 0)},
        {"pictures of 65535 squared", BadMovie::Either, patched("avc1", 28, most)},
        {"boxes inside boxes of their own type", BadMovie::Either,
            [](QByteArray& bytes) {
                constexpr quint32 levels = 400'000;
                QByteArray deep;
                for (const char* type : {"moov", "trak"})
                    deep += QByteArray(4, '\0') + type;
                for (quint32 i = 0; i < levels; ++i)
                    deep += QByteArray(4, '\0') + "mdia";
                for (qsizetype at = 0; at < deep.size(); at += 8)
                    put(deep, at, quint32(deep.size() - at));
                bytes.prepend(deep);
            }},
        {"no sample rate", BadMovie::Either, patched("mp4a", 28, 0)},
        {"a sample rate of one", BadMovie::Either, patched("mp4a", 28, 1 << 16)},
    };
    for (unsigned seed = 10; seed < 40; ++seed)
        all.push_back({"damage in the tables", BadMovie::Either, flipped("moov", seed, 1 + int(seed) % 7)});
    return all;
}

/// One clear sentence that says which file it is about.
void expectSentence(const Error& error, const QString& file)
{
    const QString text = userText(error);
    EXPECT_TRUE(text.contains(file) || text == QStringLiteral("Screen file has no video track")) << qPrintable(text);
    EXPECT_FALSE(text.contains(QLatin1Char('\n'))) << qPrintable(text);
    EXPECT_LT(text.size(), 200) << qPrintable(text);
}

/// Uses a take as far as it goes: every step works or says what is wrong with the file, in reasonable time.
void expectUsableOrRefused(const Take& take, const QString& badFile, const QDir& folder, BadMovie::Outcome outcome)
{
    QElapsedTimer timer;
    timer.start();
    const Result<std::shared_ptr<const LoadedTake>> loaded = LoadedTake::load(take);
    if (!loaded) {
        expectSentence(loaded.error(), badFile);
        EXPECT_NE(outcome, BadMovie::Opens) << qPrintable(userText(loaded.error()));
        return;
    }
    EXPECT_NE(outcome, BadMovie::Refused);
    EXPECT_LT((*loaded)->durationMs, 1000.0 * 3600 * 1000);
    const double length = std::min((*loaded)->durationMs, 4000.0);
    const std::shared_ptr<const Built> built
        = CompositionBuilder::build(*loaded, {{0, length / 2}, {length / 2 + 30, length}});
    for (const double ms : {0.0, 500.0, 1700.0, 1e9}) {
        if (const Result<QByteArray> png = FrameGrab::png(*built, ms, 300); !png)
            expectSentence(png.error(), badFile);
    }
    ExportSettings settings;
    settings.codec = Codec::H264;
    const QString path = folder.filePath(QStringLiteral("out.mp4"));
    const std::atomic<bool> cancelled = false;
    const Result<ExportReport> exported = Exporter::run(
        built, settings, path, [](double) {}, cancelled);
    QStringList left = folder.entryList(QDir::Files | QDir::Hidden);
    if (exported) {
        EXPECT_EQ(left, QStringList{QStringLiteral("out.mp4")});
        QFile::remove(path);
    } else {
        EXPECT_FALSE(userText(exported.error()).isEmpty());
        EXPECT_TRUE(left.isEmpty()) << qPrintable(left.join(QLatin1Char(' ')));
    }
    EXPECT_LT(timer.elapsed(), 20'000);
}

class BadMovies : public testing::Test {
protected:
    void SetUp() override
    {
        make(goodMovie(QStringLiteral("good.mov")));
        CodedMovie front = goodMovie(QStringLiteral("front.mov"));
        front.spec.layout = MovieLayout::FastStart;
        make(front);
        CodedMovie fragments = goodMovie(QStringLiteral("fragments.mov"));
        fragments.spec.layout = MovieLayout::Fragmented;
        fragments.spec.video->gopLength = 15;
        make(fragments);
        ASSERT_TRUE(QDir(m_folder.path()).mkpath(QStringLiteral("out")));
    }

    [[nodiscard]] CodedMovie goodMovie(const QString& name) const
    {
        CodedMovie movie;
        movie.spec = smallMovie(m_folder, name);
        movie.spec.video->preset = QStringLiteral("veryfast");
        movie.spec.audio = {AudioSpec()};
        movie.times = steadyTimes(90, 20);
        movie.soundSeconds = 3;
        return movie;
    }

    [[nodiscard]] QString file(const QString& name) const { return m_folder.filePath(name); }
    [[nodiscard]] QByteArray bytesOf(const QString& name) const
    {
        QFile source(file(name));
        EXPECT_TRUE(source.open(QIODevice::ReadOnly));
        return source.readAll();
    }
    void write(const QString& name, const QByteArray& bytes) const
    {
        QFile target(file(name));
        ASSERT_TRUE(target.open(QIODevice::WriteOnly));
        target.write(bytes);
    }

    [[nodiscard]] QDir out() const { return QDir(file(QStringLiteral("out"))); }

    /// A take of these two files, as the listing of a folder would give it.
    [[nodiscard]] Take take(const QString& screen, const QString& webcam = {}) const
    {
        Take files;
        files.base = QStringLiteral("take");
        files.dir = QUrl::fromLocalFile(m_folder.path());
        files.screenURL = QUrl::fromLocalFile(file(screen));
        if (!webcam.isEmpty())
            files.webcamURL = QUrl::fromLocalFile(file(webcam));
        return files;
    }

    QTemporaryDir m_folder;
};

} // namespace

TEST_F(BadMovies, openGrabAndExportWorkOrSayWhyNot)
{
    const QString bad = QStringLiteral("bad.mov");
    for (const BadMovie& movie : badMovies()) {
        SCOPED_TRACE(movie.name);
        QByteArray bytes = bytesOf(QString::fromLatin1(movie.from));
        movie.spoil(bytes);
        write(bad, bytes);
        expectUsableOrRefused(take(bad), bad, out(), movie.outcome);
        expectUsableOrRefused(take(QStringLiteral("good.mov"), bad), bad, out(), movie.outcome);
    }
}

TEST_F(BadMovies, openWhatIsNoFileSaysSo)
{
    expectUsableOrRefused(take(QStringLiteral("gone.mov")), QStringLiteral("gone.mov"), out(), BadMovie::Refused);
    expectUsableOrRefused(take(QStringLiteral("out")), QStringLiteral("out"), out(), BadMovie::Refused);
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/zero"), file(QStringLiteral("zero.mov"))));
    expectUsableOrRefused(take(QStringLiteral("zero.mov")), QStringLiteral("zero.mov"), out(), BadMovie::Refused);
    ASSERT_TRUE(QFile::link(file(QStringLiteral("loop.mov")), file(QStringLiteral("loop.mov"))));
    expectUsableOrRefused(take(QStringLiteral("loop.mov")), QStringLiteral("loop.mov"), out(), BadMovie::Refused);
}

TEST_F(BadMovies, openHalfDownloadedShowsWhatIsThere)
{
    QByteArray bytes = bytesOf(QStringLiteral("front.mov"));
    cut(bytes, 0.6);
    write(QStringLiteral("half.mov"), bytes);
    const auto loaded = LoadedTake::load(take(QStringLiteral("half.mov")));
    ASSERT_TRUE(loaded);
    EXPECT_GT((*loaded)->durationMs, 800);
    EXPECT_LT((*loaded)->durationMs, 2500) << "what is missing does not count";
}

TEST_F(BadMovies, openWhileTheRecorderStillWritesWorksOnceItIsWhole)
{
    const QByteArray bytes = bytesOf(QStringLiteral("good.mov"));
    const QString growing = QStringLiteral("growing.mov");
    write(growing, {});
    std::atomic<bool> whole = false;
    std::thread recorder([&] {
        QFile target(file(growing));
        static_cast<void>(target.open(QIODevice::WriteOnly));
        for (qsizetype at = 0; at < bytes.size(); at += bytes.size() / 200 + 1) {
            target.write(bytes.mid(at, bytes.size() / 200 + 1));
            target.flush();
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        target.close();
        whole = true;
    });
    int refusals = 0;
    while (!whole) {
        if (const auto loaded = LoadedTake::load(take(growing)); !loaded) {
            ++refusals;
            expectSentence(loaded.error(), growing);
        }
    }
    recorder.join();
    EXPECT_GT(refusals, 0);
    EXPECT_TRUE(LoadedTake::load(take(growing)));
}

TEST_F(BadMovies, fileTakenAwayWhileItIsOpenIsAnError)
{
    write(QStringLiteral("cut.mov"), bytesOf(QStringLiteral("good.mov")));
    const auto loaded = LoadedTake::load(take(QStringLiteral("cut.mov")));
    ASSERT_TRUE(loaded);
    const std::shared_ptr<const Built> built = CompositionBuilder::build(*loaded, {{0, 3000}});
    ASSERT_TRUE(QFile::resize(file(QStringLiteral("cut.mov")), 3000));
    const Result<QByteArray> png = FrameGrab::png(*built, 2500, 300);
    ASSERT_FALSE(png);
    expectSentence(png.error(), QStringLiteral("cut.mov"));
    EXPECT_FALSE(FrameGrab::png(*built, 2500, 300)) << "and stays one";
}

} // namespace kelmo
