#include "media/LoadedTake.h"

#include "media/stack/composition/AudioMixer.h"
#include "tests/media/MadeTake.h"
#include "tools/moviemaker/SoundCode.h"

#include <gtest/gtest.h>

namespace kelmo {

namespace {

/// A take of two seconds.
MadeTake& shortened(MadeTake& take)
{
    take.screen.times = steadyTimes(60, 20);
    take.screen.soundSeconds = 2;
    return take;
}

} // namespace

TEST(LoadedTake, loadTwoAudioTracksKeepsTheirOrder)
{
    MadeTake take;
    shortened(take).screen.spec.audio.resize(2);
    take.screen.spec.audio[1].codec = QStringLiteral("pcm_s16le");
    take.screen.spec.audio[1].channels = 1;
    take.load();
    const LoadedTake& loaded = *take.loaded();
    ASSERT_EQ(loaded.screenAudio.size(), 2U);
    EXPECT_EQ(loaded.assets.size(), 1U);
    EXPECT_FALSE(loaded.camVideo);
    EXPECT_TRUE(loaded.camAudio.empty());
    EXPECT_NEAR(loaded.durationMs, 2000, 0.1);
    EXPECT_NEAR(loaded.fps, 30, 0.01);
    for (size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(loaded.screenAudio[i].range.start, MediaTime()) << "priming is no sound";
        Result<std::unique_ptr<AudioTrackReader>> reader
            = AudioTrackReader::open(loaded.screenAudio[i].asset, *loaded.screenAudio[i].track);
        ASSERT_TRUE(reader);
        std::vector<float> both(2 * 4096);
        ASSERT_TRUE((*reader)->read(24'000, 4096, both.data()));
        std::vector<float> left;
        for (size_t at = 0; at < both.size(); at += 2)
            left.push_back(both[at]);
        const auto found = SoundCode(uint32_t(i) + 1).findPosition(left, 48'000, 23'000, 25'000);
        ASSERT_TRUE(found) << "track " << i << " is another one";
        EXPECT_NEAR(*found, 24'000, 1);
    }
}

TEST(LoadedTake, loadWebcamWithSoundOnlyHasNoFace)
{
    MadeTake take;
    shortened(take).withWebcam().spec.video.reset();
    take.webcam->times.clear();
    take.webcam->soundSeconds = 2;
    take.load();
    const LoadedTake& loaded = *take.loaded();
    EXPECT_EQ(loaded.assets.size(), 2U);
    EXPECT_FALSE(loaded.camVideo);
    EXPECT_EQ(loaded.camAudio.size(), 1U);
    const std::shared_ptr<const Built> built = take.build({{0, 1000}});
    EXPECT_FALSE(built->videoComposition);
    EXPECT_FALSE(built->composition.camera);
    EXPECT_EQ(built->composition.audio.size(), 2U);
}

TEST(LoadedTake, loadScreenWithoutPicturesIsRefused)
{
    MadeTake take;
    take.screen.spec.video.reset();
    take.screen.times.clear();
    take.screen.soundSeconds = 1;
    make(take.screen);
    const Result<Take> files = Take::load(take.screen.spec.path);
    ASSERT_TRUE(files);
    const Result<std::shared_ptr<const LoadedTake>> loaded = LoadedTake::load(*files);
    ASSERT_FALSE(loaded);
    EXPECT_EQ(loaded.error(), (Error{QStringLiteral("Take"), 2, QStringLiteral("Screen file has no video track")}));
}

TEST(LoadedTake, loadTurnedMoviesReportsTheUprightSize)
{
    struct Row {
        int rotation, width, height;
    };
    for (const Row& row : {Row{0, 320, 180}, {90, 180, 320}, {180, 320, 180}, {270, 180, 320}}) {
        MadeTake take;
        take.screen.times = {0, 20};
        take.screen.spec.audio.clear();
        take.screen.spec.video->rotation = row.rotation;
        take.load();
        EXPECT_EQ(take.loaded()->renderWidth, row.width) << row.rotation;
        EXPECT_EQ(take.loaded()->renderHeight, row.height) << row.rotation;
    }
}

} // namespace kelmo
