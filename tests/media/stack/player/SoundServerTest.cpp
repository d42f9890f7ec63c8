#include "tests/media/stack/player/SoundServer.h"

#include "media/stack/composition/AudioMixer.h"
#include "media/stack/player/CubebOutput.h"
#include "tests/media/stack/player/PlayerFixture.h"
#include "tools/moviemaker/SoundCode.h"

#include <cmath>

namespace kelmo {

namespace {

/// What the recorder asks for as its portion, so that what it has is late by that much.
constexpr double recordingDelayMs = 20;

class SoundServerTest : public PlayerFixture {
protected:
    void SetUp() override
    {
        if (!SoundServer::isInstalled())
            GTEST_SKIP() << "pulseaudio and pulseaudio-utils are not installed";
        ASSERT_TRUE(m_server.start());
        m_player = std::make_unique<Player>();
        m_player->setPictureBox({320, 180});
        ASSERT_TRUE(waitUntil([&] { return m_player->isAudible(); }));
    }
    void TearDown() override { m_player.reset(); }

    SoundServer m_server;
};

std::vector<std::pair<int, int>> fiftyOnePieces()
{
    std::vector<std::pair<int, int>> pieces;
    for (int i = 0; i < 51; ++i)
        pieces.emplace_back(i * 190 + (i * 37) % 50, i * 190 + (i * 37) % 50 + 100);
    return pieces;
}

std::vector<VolumeRamp> rampsOf(const Composition& composition)
{
    std::vector<VolumeRamp> ramps;
    const MediaTime fade{5000};
    const std::vector<CompositionSegment>& segments = composition.screen.segments;
    for (size_t i = 0; i < segments.size(); ++i) {
        if (i > 0)
            ramps.push_back({{segments[i].at, fade}, 0, 1});
        if (i + 1 < segments.size())
            ramps.push_back({{segments[i].place().end() - fade, fade}, 1, 0});
    }
    return ramps;
}

/// Where `wanted` begins in a recording: the first frame that is not silence, seen from both.
int64_t alignment(const std::vector<float>& recorded, const std::vector<float>& wanted)
{
    const auto loud = [](const std::vector<float>& sound) {
        const auto found = std::find_if(sound.begin(), sound.end(), [](float value) { return value != 0; });
        return (found - sound.begin()) / 2 * 2;
    };
    return loud(recorded) - loud(wanted);
}

} // namespace

TEST_F(SoundServerTest, playAcrossFiftyJoinsIsHeardToTheSample)
{
    auto joined = std::make_shared<PlayerItem>(*item(movie(QStringLiteral("a.mov"), 10), fiftyOnePieces()));
    joined->ramps = rampsOf(*joined->composition);
    m_player->setItem(joined);
    ASSERT_TRUE(m_server.startRecording());
    m_player->play(1);
    ASSERT_TRUE(waitUntil([&] { return m_player->status() == Player::Status::Paused; }));
    wait(300);
    const std::vector<float> recorded = m_server.stopRecording();

    const auto frames = int(AudioMixer::sampleAt(joined->composition->duration));
    std::vector<float> wanted(size_t(frames) * 2);
    AudioMixer mixer(joined->composition->audio, joined->ramps);
    ASSERT_FALSE(mixer.isSilent());
    ASSERT_TRUE(mixer.mix(0, frames, wanted.data()));

    const int64_t from = alignment(recorded, wanted);
    ASSERT_GE(from, 0);
    ASSERT_GE(int64_t(recorded.size()) - from, int64_t(wanted.size()));
    int64_t different = 0;
    int64_t firstDifferent = -1;
    for (size_t i = 0; i < wanted.size(); ++i) {
        if (std::abs(recorded[size_t(from) + i] - wanted[i]) <= 1e-6f)
            continue;
        if (different++ == 0)
            firstDifferent = int64_t(i);
    }
    EXPECT_EQ(different, 0) << "of " << wanted.size() << ", the first at " << firstDifferent;
}

TEST_F(SoundServerTest, pictureAndPositionAreWhereTheSoundIs)
{
    m_player->setItem(item(movie(QStringLiteral("a.mov"), 10), {{0, 10'000}}));
    ASSERT_TRUE(m_server.startRecording());
    m_player->play(1);
    ASSERT_TRUE(waitUntil([&] { return m_player->position().ms() > 700; }));
    struct Look {
        double position;
        double picture;
        size_t heard; ///< Samples of both channels.
    };
    std::vector<Look> looks;
    for (int i = 0; i < 60; ++i) {
        wait(30 + i % 7);
        const double position = m_player->position().ms();
        const double picture = m_player->pictureTime().ms();
        looks.push_back({position, picture, m_server.heardSoFar().size()});
    }
    m_player->pause();

    const SoundCode code(1);
    const std::vector<float>& heard = m_server.heardSoFar();
    std::vector<double> clockAhead;
    std::vector<double> pictureAhead;
    for (const Look& look : looks) {
        ASSERT_GT(look.heard, 2u * 4096);
        std::vector<float> window;
        for (size_t k = look.heard - size_t(2) * 4096; k < look.heard; k += 2)
            window.push_back(heard[k]);
        const std::optional<double> begin = code.findPosition(window, 48'000, 0, 48'000 * 10);
        ASSERT_TRUE(begin);
        const double end = (*begin + 4096) / 48;
        clockAhead.push_back(look.position - end);
        pictureAhead.push_back(look.picture + frameMs / 2 - end);
    }
    // A single look is blurred by the portions in which sound is recorded; their middle is not.
    const auto middle = [](std::vector<double> values) {
        std::nth_element(values.begin(), values.begin() + ptrdiff_t(values.size() / 2), values.end());
        return values[values.size() / 2];
    };
    std::printf(
        "the clock is %.1f ms ahead of the sound, the picture %.1f ms\n", middle(clockAhead), middle(pictureAhead));
    EXPECT_NEAR(middle(clockAhead), 0, 20 + recordingDelayMs);
    EXPECT_NEAR(middle(pictureAhead), 0, 20 + recordingDelayMs);
}

TEST_F(SoundServerTest, killTheServerPlayingGoesOnAndSoundComesBack)
{
    m_player->setItem(item(movie(QStringLiteral("a.mov"), 10), {{0, 10'000}}));
    m_player->play(1);
    ASSERT_TRUE(waitUntil([&] { return m_player->position().ms() > 500; }));
    m_server.kill();
    ASSERT_TRUE(waitUntil([&] { return !m_player->isAudible(); }));
    const double before = m_player->position().ms();
    wait(500);
    EXPECT_NEAR(m_player->position().ms(), before + 500, 150);
    ASSERT_TRUE(m_server.start());
    EXPECT_TRUE(waitUntil([&] { return m_player->isAudible(); }, 15'000));
    EXPECT_EQ(m_player->status(), Player::Status::Playing);
}

TEST_F(SoundServerTest, positionIsNeverAheadOfTheSoundNorFarBehind)
{
    m_player.reset();
    std::atomic<int64_t> pulled = 0;
    CubebOutput output;
    ASSERT_TRUE(output.open([&](float* out, int frames) {
        std::fill_n(out, frames * 2, 0.0f);
        pulled += frames;
    }));
    output.start();
    ASSERT_TRUE(waitUntil([&] { return pulled > 24'000; }));
    int64_t before = 0;
    for (int i = 0; i < 200; ++i) {
        wait(10);
        const int64_t heard = output.position().frames;
        EXPECT_GE(heard, before);
        EXPECT_LE(heard, pulled);
        EXPECT_GE(heard, pulled - 48 * 100) << "a tenth of a second is more than any buffer asked for";
        before = heard;
    }
    output.stop();
}

} // namespace kelmo
