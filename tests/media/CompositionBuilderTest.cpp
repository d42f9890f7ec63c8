#include "media/CompositionBuilder.h"

#include "tests/media/MadeTake.h"

#include <gtest/gtest.h>

#include <random>

namespace kelmo {

namespace {

MediaTime fromMs(double value) { return MediaTime::fromMs(value); }

/// A short take to vary: what is built depends on ranges and offsets only.
struct Variant {
    explicit Variant(const MadeTake& take)
        : loaded(std::make_shared<LoadedTake>(*take.loaded()))
    {
    }

    [[nodiscard]] std::shared_ptr<const Built> build(const std::vector<Span>& keep) const
    {
        return CompositionBuilder::build(loaded, keep);
    }

    std::shared_ptr<LoadedTake> loaded;
};

TimeRange range(double startMs, double endMs) { return {fromMs(startMs), fromMs(endMs) - fromMs(startMs)}; }

CompositionSegment segment(double atMs, double startMs, double endMs) { return {fromMs(atMs), range(startMs, endMs)}; }

class Building : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        s_take = std::make_unique<MadeTake>();
        s_take->screen.times = steadyTimes(60, 20);
        s_take->screen.soundSeconds = 2;
        s_take->withWebcam().times = steadyTimes(60, 20);
        s_take->webcam->soundSeconds = 2;
        s_take->load();
    }

    static void TearDownTestSuite() { s_take.reset(); }

    static std::unique_ptr<MadeTake> s_take;
};

std::unique_ptr<MadeTake> Building::s_take;

} // namespace

TEST_F(Building, buildWithoutPiecesIsEmpty)
{
    const std::shared_ptr<const Built> built = Variant(*s_take).build({});
    EXPECT_EQ(built->composition.duration, MediaTime());
    EXPECT_TRUE(built->composition.screen.segments.empty());
    EXPECT_EQ(built->composition.audio.size(), 2U);
    EXPECT_FALSE(built->audioMix);
    EXPECT_TRUE(built->videoComposition);
    EXPECT_EQ(built->timeline, Timeline());
}

TEST_F(Building, buildRampsOnlyJoinsAndNeverMoreThanAQuarterOfAPiece)
{
    EXPECT_FALSE(Variant(*s_take).build({{100, 900}})->audioMix) << "one piece has no join";
    const auto mix = Variant(*s_take).build({{0, 4}, {100, 140}, {200, 212}, {300, 1300}})->audioMix;
    const std::vector<VolumeRamp> expected{
        {range(3, 4), 1, 0},
        {range(4, 9), 0, 1},
        {range(39, 44), 1, 0},
        {range(44, 47), 0, 1},
        {range(53, 56), 1, 0},
        {range(56, 61), 0, 1},
    };
    ASSERT_TRUE(mix);
    EXPECT_EQ(*mix, expected);

    Variant silent(*s_take);
    silent.loaded->screenAudio.clear();
    silent.loaded->camAudio.clear();
    EXPECT_FALSE(silent.build({{0, 400}, {500, 900}})->audioMix);
}

TEST_F(Building, buildPiecesAndRampsMeetToTheMicrosecond)
{
    Variant variant(*s_take);
    // As long as its pieces are, so that none of them is cut off.
    variant.loaded->screenVideo.range = variant.loaded->screenAudio[0].range = range(0, 1e7);
    std::mt19937 random(3);
    std::uniform_real_distribution<double> step(0.001, 60);
    std::vector<Span> keep;
    double at = 0;
    for (int i = 0; i < 5000; ++i) {
        const double start = at + step(random);
        at = start + 20 + step(random);
        keep.push_back({start, at});
    }
    const std::shared_ptr<const Built> built = variant.build(keep);
    const std::vector<CompositionSegment>& pieces = built->composition.screen.segments;
    ASSERT_EQ(pieces.size(), keep.size());
    ASSERT_EQ(built->audioMix->size(), 2 * (keep.size() - 1));
    MediaTime reached;
    for (size_t i = 0; i < pieces.size(); ++i) {
        ASSERT_EQ(pieces[i].at, reached);
        ASSERT_EQ(built->composition.audio[0].segments[i].at, reached);
        ASSERT_EQ(pieces[i].source.start, fromMs(keep[i].start));
        reached = pieces[i].place().end();
        if (i + 1 < pieces.size()) {
            ASSERT_EQ((*built->audioMix)[2 * i].place.end(), reached) << "the fade out ends where the piece does";
            ASSERT_EQ((*built->audioMix)[2 * i + 1].place.start, reached);
        }
    }
    EXPECT_EQ(built->composition.duration, reached);
    EXPECT_NEAR(reached.ms(), built->timeline.durationMs, 0.1);
}

TEST_F(Building, buildSoundThatStartsLateIsPlacedWhereItExists)
{
    Variant variant(*s_take);
    variant.loaded->take.screenAudioStartMs = 250;
    variant.loaded->screenAudio[0].range = range(0, 1500);
    std::shared_ptr<const Built> built = variant.build({{100, 400}, {1000, 1400}, {1600, 2000}});
    const std::vector<CompositionSegment> expected{
        segment(150, 0, 150),
        segment(300, 750, 1150),
        segment(700, 1350, 1500),
    };
    EXPECT_EQ(built->composition.audio[0].segments, expected);
    EXPECT_EQ(built->composition.screen.segments.size(), 3U);
    EXPECT_EQ(built->composition.screen.segments[0], segment(0, 100, 400)) << "the picture is complete";

    // A track that says itself where it starts is trusted; one frame of the coder's own is no start.
    variant.loaded->screenAudio[0].range = range(21, 1500);
    EXPECT_EQ(variant.build({{1000, 1400}})->composition.audio[0].segments[0], segment(0, 750, 1150));
    variant.loaded->screenAudio[0].range = range(22, 1500);
    EXPECT_EQ(variant.build({{1000, 1400}})->composition.audio[0].segments[0], segment(0, 1000, 1400));
}

TEST_F(Building, buildWebcamPictureSlidesAndItsSoundDoesNot)
{
    Variant variant(*s_take);
    variant.loaded->screenVideo.range = range(0, 20'000);
    variant.loaded->camVideo->range = range(0, 8000);
    variant.loaded->camAudio[0].range = range(0, 8000);
    variant.loaded->take.webcamOffsetMs = 2000;
    const std::shared_ptr<const Built> built
        = variant.build({{500, 1500}, {1500, 3000}, {5000, 6000}, {9500, 11'000}, {11'000, 20'000}});
    const std::vector<CompositionSegment> pictures{
        segment(0, 0, 1000), // Before the webcam started: its first second.
        segment(1000, 0, 1500), // Half before: slid to the start, not cut short.
        segment(2500, 3000, 4000), segment(3500, 6500, 8000), // Past its end: its last stretch.
        segment(5000, 0, 8000), // Longer than all of it: what there is, then nothing.
    };
    EXPECT_EQ(built->composition.camera->segments, pictures);
    const std::vector<CompositionSegment> sounds{
        segment(1500, 0, 1000),
        segment(2500, 3000, 4000),
        segment(3500, 7500, 8000),
    };
    EXPECT_EQ(built->composition.audio[1].segments, sounds);
}

TEST_F(Building, previewVideoCompositionIsCappedAndEven)
{
    struct Row {
        int width, height, previewWidth, previewHeight;
    };
    const Row rows[] = {{3840, 2160, 1920, 1080}, {1440, 900, 1440, 900}, {1366, 768, 1366, 768},
        {1365, 767, 1364, 766}, {1080, 1920, 606, 1080}, {1920, 1, 1920, 0}};
    Variant variant(*s_take);
    for (const Row& row : rows) {
        variant.loaded->renderWidth = row.width;
        variant.loaded->renderHeight = row.height;
        const std::shared_ptr<const Built> built = variant.build({{0, 1000}});
        EXPECT_EQ(built->videoComposition, (VideoComposition{row.width, row.height, 60}));
        EXPECT_EQ(built->previewVideoComposition(), (VideoComposition{row.previewWidth, row.previewHeight, 30}));
        Built::nativePreview = true;
        EXPECT_EQ(built->previewVideoComposition(), built->videoComposition);
        Built::nativePreview = false;
    }
    variant.loaded->camVideo.reset();
    EXPECT_FALSE(variant.build({{0, 1000}})->videoComposition);
    EXPECT_FALSE(variant.build({{0, 1000}})->previewVideoComposition());
}

TEST(BuildingFiles, buildHoldsTheLastPictureAndLeavesTheStretchBeforeTheFirstEmpty)
{
    MadeTake take;
    take.screen.times = steadyTimes(60, 20, 300); // From 0.5 s to 2.5 s.
    take.screen.soundSeconds = 4;
    take.load();
    EXPECT_NEAR(take.loaded()->durationMs, 4000, 0.1);
    const std::shared_ptr<const Built> built = take.build({{0, 4000}});
    EXPECT_EQ(built->composition.duration, fromMs(4000));
    const CompositionTrack& screen = built->composition.screen;
    EXPECT_EQ(screen.frameAt(ExactTime::of(fromMs(499))), std::nullopt);
    EXPECT_EQ(screen.frameAt(ExactTime::of(fromMs(500))), 0);
    EXPECT_EQ(screen.frameAt(ExactTime::of(fromMs(2490))), 59);
    EXPECT_EQ(screen.frameAt(ExactTime::of(fromMs(3999))), 59);
}

TEST(BuildingFiles, buildJudgesTheSoundsStartAfterPriming)
{
    const auto audioAt1000 = [](double startOffsetMs) {
        MadeTake take;
        take.screen.times = steadyTimes(90, 20);
        take.screen.soundSeconds = 3;
        take.screen.spec.audio[0].startOffsetMs = startOffsetMs;
        take.screenAudioStartMs = 250;
        take.load();
        return take.build({{1000, 2000}})->composition.audio[0].segments.at(0).source.start.ms();
    };
    EXPECT_NEAR(audioAt1000(0), 750, 0.001);
    EXPECT_NEAR(audioAt1000(15), 750, 0.001);
    EXPECT_NEAR(audioAt1000(60), 1000, 0.001);
}

} // namespace kelmo
