#include "media/CompositionBuilder.h"
#include "media/Exporter.h"
#include "media/FrameGrab.h"
#include "tests/media/PeakMemory.h"
#include "tests/movies/CodedMovie.h"

#include <QProcess>

#include <gtest/gtest.h>

#include <ctime>
#include <random>

namespace kelmo {

namespace {

/// A file of a few seconds in one of the containers and with one of the codecs that recorders use.
struct SeedMovie {
    const char* name;
    const char* arguments; ///< Of ffmpeg, behind its inputs.
};

constexpr SeedMovie seedMovies[] = {
    {"plain.mov", "-c:v libx264 -pix_fmt yuv420p -g 10 -c:a aac"},
    {"front.mp4", "-c:v libx264 -pix_fmt yuv420p -g 10 -c:a aac -movflags +faststart"},
    {"fragments.mp4", "-c:v libx264 -pix_fmt yuv420p -g 10 -c:a aac -movflags +frag_keyframe+empty_moov"},
    {"pcm.mov", "-c:v mpeg4 -c:a pcm_s16le"},
    {"hevc.mp4", "-c:v libx265 -x265-params log-level=none -pix_fmt yuv420p -c:a alac"},
    {"a.mkv", "-c:v libx264 -pix_fmt yuv420p -g 10 -c:a libopus"},
    {"a.webm", "-c:v libvpx -deadline realtime -cpu-used 8 -c:a libvorbis"},
    {"a.avi", "-c:v mpeg4 -bf 2 -c:a mp3"},
    {"a.ts", "-c:v libx264 -pix_fmt yuv420p -g 10 -c:a mp2"},
};

int number(const char* variable, int otherwise)
{
    bool isNumber = false;
    const int value = qEnvironmentVariableIntValue(variable, &isNumber);
    return isNumber ? value : otherwise;
}

/// Damage of the kinds that disks, downloads, broken recorders and bad muxers do. The same for the same random numbers.
class Mutation {
public:
    explicit Mutation(unsigned seed)
        : m_random(seed)
    {
    }

    void apply(QByteArray& bytes)
    {
        for (int left = 1 + below(3); left > 0 && bytes.size() > 16; --left) {
            const qsizetype at = place(bytes);
            const qsizetype length = std::min(m_length, bytes.size() - at);
            switch (below(7)) {
            case 0:
                bytes.truncate(below(bytes.size()));
                break;
            case 1:
                flip(bytes);
                break;
            case 2:
                std::fill_n(bytes.begin() + at, length, '\0');
                break;
            case 3:
                bytes.insert(at, bytes.mid(below(bytes.size()), length));
                break;
            case 4:
                bytes.remove(at, length);
                break;
            default:
                spoilBox(bytes);
            }
        }
    }

private:
    qsizetype below(qsizetype end) { return qsizetype(m_random() % uint64_t(std::max<qsizetype>(end, 1))); }

    /// Somewhere to begin, and how far it reaches: mostly short, and as often in the head of the file as elsewhere.
    qsizetype place(const QByteArray& bytes)
    {
        m_length = 1 + below(qsizetype(1) << (2 + below(14)));
        return below(below(2) ? bytes.size() : std::min<qsizetype>(bytes.size(), 3000));
    }

    void flip(QByteArray& bytes)
    {
        for (int left = 1 + int(below(40)); left > 0; --left)
            bytes[place(bytes)] = char(m_random());
    }

    /// Writes an odd number over the size of a box, or over one of the first numbers in it.
    void spoilBox(QByteArray& bytes)
    {
        static constexpr const char* types[] = {"moov", "trak", "mdia", "stbl", "stsz", "stts", "ctts", "stsc", "stco",
            "stss", "elst", "mvhd", "mdhd", "tkhd", "stsd", "avcC", "esds", "moof", "traf", "trun", "tfhd", "tfdt",
            "mdat", "avih", "strh", "strf", "idx1", "movi"};
        static constexpr uint32_t values[]
            = {0, 1, 7, 8, 0x7f, 0xffff, 0x10000, 0x7fffffff, 0x80000000, 0xfffffff0, 0xffffffff};
        qsizetype at = -1;
        for (int tries = 0; tries < 20 && at < 0; ++tries) {
            const char* type = types[below(std::size(types))];
            at = bytes.indexOf(type, below(2) ? below(bytes.size()) : 0);
        }
        if (at < 0)
            return flip(bytes);
        at += 4 * (below(8) - 1);
        const uint32_t value = values[below(std::size(values))];
        for (int i = 0; i < 4 && at >= 0 && at + i < bytes.size(); ++i)
            bytes[at + i] = char(value >> (24 - 8 * i));
    }

    std::minstd_rand m_random;
    qsizetype m_length = 0;
};

double processorSeconds() { return double(std::clock()) / CLOCKS_PER_SEC; }

class MutatedMovies : public testing::Test {
protected:
    void makeSeeds()
    {
        const QStringList inputs
            = QStringLiteral("-v error -y -f lavfi -i testsrc=size=96x64:rate=15:duration=2 -f lavfi -i "
                             "sine=440:sample_rate=48000:duration=2")
                  .split(QLatin1Char(' '));
        for (const SeedMovie& seed : seedMovies) {
            const QString path = m_folder.filePath(QString::fromLatin1(seed.name));
            ASSERT_EQ(QProcess::execute(QStringLiteral("ffmpeg"),
                          inputs + QString::fromLatin1(seed.arguments).split(QLatin1Char(' ')) + QStringList{path}),
                0)
                << seed.name;
            QFile file(path);
            ASSERT_TRUE(file.open(QIODevice::ReadOnly));
            m_seeds.push_back(file.readAll());
        }
        ASSERT_TRUE(QDir(m_folder.path()).mkpath(QStringLiteral("out")));
    }

    /// Opens, looks and exports as a person would; anything but an answer is a failure.
    void use(const QString& path)
    {
        Take take;
        take.base = QStringLiteral("take");
        take.screenURL = QUrl::fromLocalFile(path);
        const Result<std::shared_ptr<const LoadedTake>> loaded = LoadedTake::load(take);
        if (!loaded) {
            EXPECT_FALSE(userText(loaded.error()).isEmpty());
            return;
        }
        ++m_opened;
        const double length = std::min((*loaded)->durationMs, 3000.0);
        const auto built = CompositionBuilder::build(*loaded, {{0, length / 2}, {length / 2 + 30, length}});
        for (const double share : {0.0, 0.6, 1.0}) {
            const Result<QByteArray> png = FrameGrab::png(*built, length * share, 160);
            EXPECT_TRUE(png || !userText(png.error()).isEmpty());
        }
        ExportSettings settings;
        settings.codec = Codec::H264;
        settings.height = 64;
        const QDir out(m_folder.filePath(QStringLiteral("out")));
        const std::atomic<bool> cancelled = false;
        const Result<ExportReport> exported = Exporter::run(
            built, settings, out.filePath(QStringLiteral("out.mp4")), [](double) {}, cancelled);
        EXPECT_TRUE(exported || !userText(exported.error()).isEmpty());
        m_exported += exported ? 1 : 0;
        EXPECT_EQ(QFile::remove(out.filePath(QStringLiteral("out.mp4"))), exported.has_value());
        const QStringList left = out.entryList(QDir::Files | QDir::Hidden);
        EXPECT_TRUE(left.isEmpty()) << qPrintable(left.join(QLatin1Char(' ')));
    }

    QTemporaryDir m_folder;
    std::vector<QByteArray> m_seeds;
    int m_opened = 0;
    int m_exported = 0;
};

} // namespace

// KELMO_MUTATIONS says how many, KELMO_MUTATION_SEED from which random number on; tests/mutate runs 500.
TEST_F(MutatedMovies, openGrabAndExportAnswerInTimeWithinMemoryAndLeaveNothing)
{
    makeSeeds();
    ASSERT_FALSE(HasFatalFailure());
    const int count = number("KELMO_MUTATIONS", 40);
    const int first = number("KELMO_MUTATION_SEED", 1);
    const bool isTold = count > 40;
    double longest = 0;
    int64_t largest = 0;
    for (int i = 0; i < count; ++i) {
        const auto seed = unsigned(first + i);
        const size_t which = seed % m_seeds.size();
        SCOPED_TRACE(testing::Message() << "seed " << seed << " of " << seedMovies[which].name);
        if (isTold)
            std::fprintf(stderr, "seed %u of %s\n", seed, seedMovies[which].name);
        QByteArray bytes = m_seeds[which];
        Mutation(seed * 2654435761U).apply(bytes);
        const QString path = m_folder.filePath(QStringLiteral("bad.") % QString::fromLatin1(seedMovies[which].name));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        file.close();
        (void)peakMemory();
        const double before = processorSeconds();
        use(path);
        const double seconds = processorSeconds() - before;
        const int64_t memory = peakMemory();
        EXPECT_LT(seconds, 10);
        EXPECT_LT(memory, 700 << 20);
        longest = std::max(longest, seconds);
        largest = std::max(largest, memory);
    }
    EXPECT_GT(m_opened, count / 4) << "damage that nothing survives tests nothing";
    EXPECT_GT(m_exported, count / 5);
    if (isTold) {
        std::fprintf(stderr, "%d movies: %d opened, %d exported; at most %.1f s of processor time and %lld MB\n", count,
            m_opened, m_exported, longest, static_cast<long long>(largest >> 20));
    }
}

} // namespace kelmo
