#include "media/stack/picture/PngWriter.h"

#include <QImage>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

extern "C" {
#include <libavutil/frame.h>
}

using namespace kelmo;

namespace {

constexpr int width = 96;
constexpr int height = 64;

/// Waves of a different length in each plane, so that a sample taken from beside its place has another value.
int sampleAt(int plane, int x, int y)
{
    return int(std::lround(128 + 70 * std::sin(0.19 * (plane + 1) * x + 0.23 * y)));
}

VideoFrame waves(AVChromaLocation location)
{
    VideoFrame frame = FramePool(width, height).take();
    for (int plane = 0; plane < 3; ++plane) {
        const int part = plane ? 2 : 1;
        for (int y = 0; y < height / part; ++y) {
            for (int x = 0; x < width / part; ++x)
                frame.writablePlane(plane)[y * frame.stride(plane) + x] = uint8_t(sampleAt(plane, x, y));
        }
    }
    frame.setColor({1, 1, 1, false});
    frame.writable()->chroma_location = location;
    return frame;
}

/// Between the four samples around a place, which counts in samples.
double colorAt(int plane, double x, double y)
{
    x = std::clamp(x, 0.0, width / 2 - 1.0);
    y = std::clamp(y, 0.0, height / 2 - 1.0);
    const int left = std::min(int(x), width / 2 - 2);
    const int top = std::min(int(y), height / 2 - 2);
    const auto row = [&](int atY) {
        return std::lerp(double(sampleAt(plane, left, atY)), double(sampleAt(plane, left + 1, atY)), x - left);
    };
    return std::lerp(row(top), row(top + 1), y - top) - 128;
}

/// By the BT.709 equations.
std::array<double, 3> rgbOf(double light, double blueness, double redness)
{
    const double grey = (light - 16) * 255 / 219;
    const double u = blueness * 255 / 224;
    const double v = redness * 255 / 224;
    return {grey + 1.5748 * v, grey - 0.187324 * u - 0.468124 * v, grey + 1.8556 * u};
}

} // namespace

TEST(PngWriter, everyPixelHasItsColorFromWhereTheSamplesLie)
{
    struct Place {
        AVChromaLocation location;
        double right; ///< Of the left pixel's middle, in pixels.
        double below;
    };
    const Place places[] = {{AVCHROMA_LOC_UNSPECIFIED, 0, 0.5}, {AVCHROMA_LOC_LEFT, 0, 0.5},
        {AVCHROMA_LOC_CENTER, 0.5, 0.5}, {AVCHROMA_LOC_TOPLEFT, 0, 0}};
    for (const Place& place : places) {
        const Result<QByteArray> png = pngOf(waves(place.location), width, height);
        ASSERT_TRUE(png);
        const QImage image = QImage::fromData(*png, "PNG").convertToFormat(QImage::Format_RGB888);
        ASSERT_EQ(image.size(), QSize(width, height));
        double worst = 0;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const double colorX = (x - place.right) / 2;
                const double colorY = (y - place.below) / 2;
                const auto wanted = rgbOf(sampleAt(0, x, y), colorAt(1, colorX, colorY), colorAt(2, colorX, colorY));
                const uchar* pixel = image.constScanLine(y) + 3 * x;
                for (size_t i = 0; i < 3; ++i)
                    worst = std::max(worst, std::abs(pixel[i] - std::clamp(wanted[i], 0.0, 255.0)));
            }
        }
        EXPECT_LE(worst, 1.6) << "location " << place.location;
    }
}
