#include "media/stack/decode/DecoderSelector.h"

#include "tests/media/stack/player/PlayerFixture.h"
#include "tools/moviemaker/FrameCode.h"

namespace kelmo {

namespace {

/// Stands in for a device of a machine that has none: every picture is in its memory, and it can be slow and fail.
class PretendedDevice final : public HardwareDevice {
public:
    PretendedDevice(int worksFor, int slowMs)
        : m_left(worksFor)
        , m_slowMs(slowMs)
    {
    }

    [[nodiscard]] QString name() const override { return QStringLiteral("pretended"); }
    [[nodiscard]] AVBufferRef* context() const override { return nullptr; }
    [[nodiscard]] bool holds(const VideoFrame&) const override { return true; }
    [[nodiscard]] VideoFrame fetch(const VideoFrame& frame) const override
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(m_slowMs));
        return m_left-- > 0 ? frame : VideoFrame();
    }

private:
    mutable std::atomic<int> m_left;
    const int m_slowMs;
};

class DecoderSelectorTest : public PlayerFixture {
protected:
    [[nodiscard]] static std::optional<int> numberIn(const Result<VideoFrame>& frame)
    {
        return frame ? readFrameCode(frame->plane(0), frame->stride(0), frame->width(), frame->height()) : std::nullopt;
    }
};

} // namespace

TEST_F(DecoderSelectorTest, deviceFailsAtAnyMomentSoftwareGoesOnWithTheSamePicture)
{
    const std::shared_ptr<const Asset> asset = movie(QStringLiteral("a.mov"), 4);
    for (const int worksFor : {0, 1, 7, 40}) {
        const auto device = std::make_shared<PretendedDevice>(worksFor, 0);
        const Result<std::unique_ptr<VideoDecoder>> decoder = VideoDecoder::open(asset, asset->tracks()[0], 2, device);
        ASSERT_TRUE(decoder);
        EXPECT_EQ((*decoder)->device(), device);
        for (int display = 30; display < 90; ++display)
            ASSERT_EQ(numberIn((*decoder)->frame(display)), display) << "after " << worksFor;
        EXPECT_EQ(numberIn((*decoder)->frame(5)), 5);
        EXPECT_TRUE((*decoder)->hasFallenBack());
        EXPECT_EQ((*decoder)->device(), nullptr);
    }
}

TEST_F(DecoderSelectorTest, deviceThatIsSlowerOrFailsIsNotChosen)
{
    const std::shared_ptr<const Asset> asset = movie(QStringLiteral("a.mov"), 4);
    const auto slow = std::make_shared<PretendedDevice>(1 << 20, 20);
    const auto broken = std::make_shared<PretendedDevice>(10, 0);
    for (const auto& device : {slow, broken}) {
        const DecoderSelector choice(asset, asset->tracks()[0], 2, [&](const Track&) { return device; });
        ASSERT_TRUE(waitUntil([&] { return choice.isDecided(); }, 60'000));
        const Result<std::unique_ptr<VideoDecoder>> decoder = choice.open();
        ASSERT_TRUE(decoder);
        EXPECT_EQ((*decoder)->device(), nullptr);
        EXPECT_FALSE(choice.isOutdated(**decoder));
    }
}

TEST_F(DecoderSelectorTest, machineWithoutADeviceDecodesInSoftwareAtOnce)
{
    const std::shared_ptr<const Asset> asset = movie(QStringLiteral("a.mov"), 2);
    const DecoderSelector choice(asset, asset->tracks()[0], 2, [](const Track&) { return nullptr; });
    const Result<std::unique_ptr<VideoDecoder>> decoder = choice.open();
    ASSERT_TRUE(decoder);
    EXPECT_EQ(numberIn((*decoder)->frame(11)), 11);
}

TEST_F(DecoderSelectorTest, endWhileMeasuringDoesNotWaitForIt)
{
    const std::shared_ptr<const Asset> asset = movie(QStringLiteral("a.mov"), 4);
    const auto slow = std::make_shared<PretendedDevice>(1 << 20, 200);
    const auto start = std::chrono::steady_clock::now();
    {
        const DecoderSelector choice(asset, asset->tracks()[0], 2, [&](const Track&) { return slow; });
        wait(50);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2)) << "48 pictures would take ten";
}

} // namespace kelmo
