#include "media/stack/decode/AudioTrackReader.h"

#include "media/stack/composition/PeakLimiter.h"
#include "tests/movies/CodedMovie.h"
#include "tools/moviemaker/SoundCode.h"

#include <gtest/gtest.h>

#include <QProcess>

#include <random>

namespace kelmo {

namespace {

struct Case {
    const char* name;
    const char* codec;
    int sampleRate;
    int channels;
    double startOffsetMs;
    double tolerance; ///< Samples at 48 kHz.
    int64_t editStart; ///< Of the track's edit list, in its samples; -1 for none.
};

// The name of a test ends in it.
[[maybe_unused]] void PrintTo(const Case& each, std::ostream* out) { *out << each.name; }

constexpr int window = 4096;

QString text(const char* latin) { return QString::fromLatin1(latin); }

} // namespace

class AudioTrackReaderFormats : public testing::TestWithParam<Case> {
protected:
    void SetUp() override
    {
        const Case& c = GetParam();
        m_movie.spec = smallMovie(m_folder, text("a.mov"));
        m_movie.spec.video.reset();
        AudioSpec audio;
        audio.codec = text(c.codec);
        audio.sampleRate = c.sampleRate;
        audio.channels = c.channels;
        audio.startOffsetMs = c.startOffsetMs;
        m_movie.spec.audio = {audio};
        m_movie.soundSeconds = 12;
        if (c.editStart >= 0)
            m_movie.audioEdits = {{48000 * 8, c.editStart}};
        make(m_movie);
        Result<std::shared_ptr<const Asset>> asset = Asset::open(m_movie.spec.path);
        ASSERT_TRUE(asset) << qPrintable(userText(asset.error()));
        m_asset = *asset;
    }

    std::unique_ptr<AudioTrackReader> reader() const
    {
        Result<std::unique_ptr<AudioTrackReader>> opened = AudioTrackReader::open(m_asset, m_asset->tracks().front());
        return opened ? std::move(*opened) : nullptr;
    }

    static std::vector<float> read(AudioTrackReader& reader, int64_t position, int count)
    {
        std::vector<float> sound(size_t(count) * 2, 9.0f);
        EXPECT_TRUE(reader.read(position, count, sound.data()));
        return sound;
    }

    QTemporaryDir m_folder;
    CodedMovie m_movie;
    std::shared_ptr<const Asset> m_asset;
};

TEST_P(AudioTrackReaderFormats, readAtAnyPositionGivesTheSoundMadeThere)
{
    const Case& c = GetParam();
    const std::unique_ptr<AudioTrackReader> jumping = reader();
    ASSERT_TRUE(jumping);
    // What was made at file position p is sound-code position p - offset, or later by what the edit list cuts off.
    const double shift = c.editStart >= 0 ? double(c.editStart) * 48000 / c.sampleRate : -c.startOffsetMs * 48;
    std::minstd_rand random(3);
    for (int i = 0; i < 12; ++i) {
        const int64_t position = 48000 + int64_t(random() % (48000 * 6));
        const std::vector<float> stereo = read(*jumping, position, window);
        std::vector<float> left;
        for (size_t sample = 0; sample < stereo.size(); sample += 2)
            left.push_back(stereo[sample]);
        const auto expected = double(position) + shift;
        const std::optional<double> found
            = SoundCode(1).findPosition(left, 48000, int64_t(expected) - 3000, int64_t(expected) + 3000);
        ASSERT_TRUE(found) << "at " << position;
        EXPECT_NEAR(*found, expected, c.tolerance) << "at " << position;
        if (c.channels == 1) {
            for (size_t sample = 0; sample < stereo.size(); sample += 2)
                ASSERT_EQ(stereo[sample], stereo[sample + 1]);
        }
    }
}

TEST_P(AudioTrackReaderFormats, readAfterAJumpEqualsReadingThrough)
{
    const std::unique_ptr<AudioTrackReader> through = reader();
    std::vector<float> whole;
    for (int64_t at = 0; at < 48000 * 13; at += 1000) {
        const std::vector<float> part = read(*through, at, 1000);
        whole.insert(whole.end(), part.begin(), part.end());
    }
    const std::unique_ptr<AudioTrackReader> jumping = reader();
    std::minstd_rand random(5);
    for (int i = 0; i < 20; ++i) {
        const auto position = int64_t(random() % (48000 * 12));
        const int count = 300 + int(random() % 3000);
        const std::vector<float> part = read(*jumping, position, count);
        for (size_t sample = 0; sample < part.size(); ++sample)
            ASSERT_NEAR(part[sample], whole[size_t(position) * 2 + sample], 2e-3) << position << "+" << sample / 2;
    }
}

TEST_P(AudioTrackReaderFormats, readBeyondTheEndsIsSilence)
{
    const std::unique_ptr<AudioTrackReader> reading = reader();
    for (const float value : read(*reading, -5000, 4000))
        ASSERT_EQ(value, 0.0f);
    for (const float value : read(*reading, 48000 * 20, 1000))
        ASSERT_EQ(value, 0.0f);
    const auto end = scaled(m_asset->duration().us, 48, 1000);
    const std::vector<float> last = read(*reading, end - 100, 200);
    EXPECT_TRUE(std::any_of(last.begin(), last.begin() + 190, [](float value) { return value != 0.0f; }));
    for (size_t sample = 204; sample < last.size(); ++sample)
        ASSERT_EQ(last[sample], 0.0f);
}

INSTANTIATE_TEST_SUITE_P(Formats, AudioTrackReaderFormats,
    testing::Values(Case{"aac48", "aac", 48000, 2, 0, 1.0, -1}, Case{"aac44", "aac", 44100, 2, 0, 1.0, -1},
        Case{"aacMono", "aac", 48000, 1, 0, 1.0, -1}, Case{"aacLate", "aac", 44100, 2, 700, 1.0, -1},
        Case{"aacTrimmed", "aac", 44100, 2, 0, 1.0, 13127}, Case{"pcm48", "pcm_s16le", 48000, 2, 0, 0.1, -1},
        Case{"pcm16Mono", "pcm_s16le", 16000, 1, 0, 0.1, -1}, Case{"pcm96", "pcm_f32le", 96000, 2, 0, 0.1, -1},
        Case{"alacTrimmed", "alac", 48000, 2, 0, 0.1, 7001}),
    [](const testing::TestParamInfo<Case>& info) { return info.param.name; });

TEST(AudioTrackReader, readUpToALongHoleLosesNothingBeforeIt)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(text("holed.mov"));
    ASSERT_EQ(QProcess::execute(text("ffmpeg"),
                  {text("-v"), text("error"), text("-f"), text("lavfi"), text("-i"), text("sine=440:r=48000:d=16"),
                      text("-af"), text("aselect=lt(t\\,1)+gt(t\\,15)"), text("-c:a"), text("aac"), path}),
        0);
    const Result<std::shared_ptr<const Asset>> asset = Asset::open(path);
    ASSERT_TRUE(asset);
    const auto reader = *AudioTrackReader::open(*asset, (*asset)->tracks().front());
    std::vector<float> sound(size_t(48'000) * 2);
    const auto isHeard = [&sound] {
        return std::any_of(sound.begin(), sound.begin() + 2048, [](float value) { return std::abs(value) > 0.05f; });
    };
    // Back and forth, because what was read may be forgotten.
    for (const int64_t position : {40'000, 46'000, 44'000, 721'000, 46'500}) {
        ASSERT_TRUE(reader->read(position, 1024, sound.data()));
        EXPECT_TRUE(isHeard()) << "at sample " << position;
    }
    ASSERT_TRUE(reader->read(300'000, 1024, sound.data()));
    EXPECT_FALSE(isHeard());
}

namespace {

/// The first sample of each window of the file's clock, as the position in the sound that was made.
std::vector<double> soundAt(const QString& path, std::span<const int64_t> positions)
{
    const Result<std::shared_ptr<const Asset>> asset = Asset::open(path);
    EXPECT_TRUE(asset);
    const auto reader = *AudioTrackReader::open(*asset, (*asset)->tracks().front());
    std::vector<double> found;
    for (const int64_t position : positions) {
        std::vector<float> stereo(size_t(window) * 2);
        EXPECT_TRUE(reader->read(position, window, stereo.data()));
        std::vector<float> left;
        for (size_t sample = 0; sample < stereo.size(); sample += 2)
            left.push_back(stereo[sample]);
        found.push_back(
            SoundCode(1).findPosition(left, 48000, position - 20'000, position + 2000).value_or(std::nan("")));
    }
    return found;
}

} // namespace

TEST(AudioTrackReader, readFollowsPacketClocksOnlyWhereTheyChangeForGood)
{
    struct Row {
        const char* clock; ///< What each packet says, in milliseconds; PTS is the truth.
        double laterMs; ///< How much later the sound is from second 6 on.
    };
    // Packets that are 10 ms off in short runs, as from muxers that misjudge a change of block size; the same from the
    // first moments on; packets that are lost.
    const Row rows[] = {{"PTS-10*between(mod(N\\,40)\\,20\\,26)", 0}, {"PTS+10*between(mod(N\\,40)\\,20\\,26)", 0},
        {"PTS+10*gte(N\\,3)", 0}, {"PTS+300*gte(N\\,200)", 300}, {"PTS+24*gte(N\\,200)", 24}};
    std::vector<int64_t> positions;
    for (int64_t at = 24'000; at < 11 * 48'000; at += 7411)
        positions.push_back(at);
    for (const char* codec : {"libvorbis", "libopus", "aac"}) {
        const QTemporaryDir folder;
        CodedMovie movie;
        movie.spec = smallMovie(folder, text("a.mkv"));
        movie.spec.video.reset();
        movie.spec.audio.resize(1);
        movie.spec.audio[0].codec = text(codec);
        movie.soundSeconds = 12;
        make(movie);
        const std::vector<double> truth = soundAt(movie.spec.path, positions);
        for (const Row& row : rows) {
            SCOPED_TRACE(std::string(codec) + " " + row.clock);
            const QString path = folder.filePath(text("b.mkv"));
            ASSERT_EQ(QProcess::execute(text("ffmpeg"),
                          {text("-v"), text("error"), text("-y"), text("-i"), movie.spec.path, text("-c"), text("copy"),
                              text("-bsf:a"), text("setts=") % text(row.clock), path}),
                0);
            const std::vector<double> found = soundAt(path, positions);
            for (size_t i = 0; i < positions.size(); ++i) {
                const double later = positions[i] < 2 * 48'000 ? 0 : row.laterMs * 48;
                if (positions[i] < 2 * 48'000 || positions[i] > 6 * 48'000) {
                    EXPECT_NEAR(found[i], truth[i] - later, 72) << "at sample " << positions[i];
                }
            }
        }
    }
}

TEST(PeakLimiter, limitQuietSoundIsUntouchedAndLoudSoundStaysBelowFullScale)
{
    constexpr int count = 4000;
    constexpr int reach = PeakLimiter::reach;
    std::vector<float> sound(size_t(count + 2 * reach) * 2);
    for (size_t i = 0; i < sound.size(); ++i)
        sound[i] = 0.9f * float(std::sin(double(i) * 0.01));
    std::vector<float> out(size_t(count) * 2);
    PeakLimiter::limit(sound, out);
    EXPECT_TRUE(std::equal(out.begin(), out.end(), sound.begin() + 2 * reach));

    for (size_t i = 3000; i < 5000; ++i)
        sound[i] *= 2;
    PeakLimiter::limit(sound, out);
    EXPECT_LE(*std::max_element(out.begin(), out.end()), 1.0f);
    EXPECT_GE(*std::min_element(out.begin(), out.end()), -1.0f);
    // Soft: the volume moves by little from one sample to the next.
    const auto gain = [&](size_t i) { return out[i] / sound[i + 2 * reach]; };
    for (size_t i = 2; i < out.size(); ++i) {
        if (std::abs(sound[i + 2 * reach]) > 0.1f && std::abs(sound[i - 2 + 2 * reach]) > 0.1f) {
            ASSERT_LT(std::abs(gain(i) - gain(i - 2)), 0.01f) << i;
        }
    }
    // Limiting a stretch alone gives the same as limiting all of it.
    std::vector<float> part(1000);
    PeakLimiter::limit(std::span(sound).subspan(2500, 1000 + 4 * reach), part);
    EXPECT_TRUE(std::equal(part.begin(), part.end(), out.begin() + 2500));
}

} // namespace kelmo
