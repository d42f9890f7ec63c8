#include "media/stack/picture/RgbScaler.h"

#include <gtest/gtest.h>

namespace kelmo {

TEST(RgbScaler, anyWidthLeavesTheMemoryBehindTheImageAlone)
{
    constexpr int height = 20;
    constexpr size_t guard = 128;
    constexpr uchar mark = 0xA5;
    for (int width = 160; width < 200; width += 2) {
        for (const int sourceWidth : {width, 320}) {
            const VideoFrame frame = FramePool(sourceWidth, height).black({});
            const auto guarded = [&](const std::function<bool(QImage&)>& fill) {
                std::vector<uchar> memory(size_t(width) * height * 4 + guard, mark);
                QImage image(memory.data(), width, height, width * 4, QImage::Format_RGB32);
                EXPECT_TRUE(fill(image));
                return std::all_of(memory.end() - guard, memory.end(), [&](uchar byte) { return byte == mark; });
            };
            RgbScaler scaler;
            EXPECT_TRUE(guarded([&](QImage& image) { return scaler.scale(frame, image, Scaling::Fast); })) << width;
            EXPECT_TRUE(guarded([&](QImage& image) { return scaler.scale(frame, image, Scaling::Fine); })) << width;
        }
    }
}

} // namespace kelmo
