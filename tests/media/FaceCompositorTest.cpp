#include "media/FaceCompositor.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

namespace kelmo {

namespace {

constexpr ColorTags limited709{1, 1, 1, false};
constexpr ColorTags limited601{6, 6, 6, false};
constexpr ColorTags full709{1, 1, 1, true};

constexpr int shiftOf(int plane) { return plane > 0; }

VideoFrame noise(const FramePool& pool, unsigned seed)
{
    VideoFrame frame = pool.take();
    frame.setColor(limited709);
    std::minstd_rand random(seed);
    for (int plane = 0; plane < 3; ++plane) {
        const int rows = (pool.height() + shiftOf(plane)) >> shiftOf(plane);
        for (int i = 0; i < frame.stride(plane) * rows; ++i)
            frame.writablePlane(plane)[i] = uint8_t(random() >> 8);
    }
    return frame;
}

FacePicture plainFace(int size, uint8_t luma, uint8_t blue, uint8_t red)
{
    FacePicture face;
    face.size = size;
    const std::array<uint8_t, 3> values{luma, blue, red};
    for (size_t i = 0; i < 3; ++i)
        face.planes[i].assign(size_t(size) * size_t(size), values[i]);
    return face;
}

VideoFrame plain(int width, int height, std::array<int, 3> values, ColorTags color)
{
    VideoFrame frame = FramePool(width, height).take();
    frame.setColor(color);
    for (int plane = 0; plane < 3; ++plane) {
        const int rows = (height + shiftOf(plane)) >> shiftOf(plane);
        std::memset(frame.writablePlane(plane), values[size_t(plane)], size_t(frame.stride(plane)) * size_t(rows));
    }
    return frame;
}

std::array<int, 3> middleOf(const FacePicture& face)
{
    const size_t at = size_t(face.size) * size_t(face.size / 2) + size_t(face.size / 2);
    return {face.planes[0][at], face.planes[1][at], face.planes[2][at]};
}

/// How much of a pixel's face shows, by distance from the circle's centre: all up to 1.5 pixels from the rim.
double shownAt(const FaceCircle& circle, int x, int y)
{
    const double centre = circle.diameter / 2.0;
    const double distance = std::hypot(x + 0.5 - circle.left - centre, y + 0.5 - circle.top - centre);
    return std::clamp((centre - distance) / 1.5, 0.0, 1.0);
}

} // namespace

TEST(FaceCompositor, circleLiesBottomRightInProportion)
{
    EXPECT_EQ(FaceCircle::in(1920, 1080), (FaceCircle{281, 1596, 1080 - 43 - 281}));
    EXPECT_EQ(FaceCircle::in(1280, 720), (FaceCircle{187, 1064, 720 - 29 - 187}));
    EXPECT_EQ(FaceCircle::in(1080, 1920), (FaceCircle{281, 722, 1920 - 77 - 281}));
    // 50 × 0.26 is 13, 50 × 0.04 is 2, and halves are rounded away from zero: 250 × 0.26 is 65, 225 × 0.26 is 58.5.
    EXPECT_EQ(FaceCircle::in(50, 50), (FaceCircle{13, 35, 35}));
    EXPECT_EQ(FaceCircle::in(300, 225).diameter, 59);
}

TEST(FaceCompositor, composeBlendsTheCircleAndTouchesNothingElse)
{
    // Sizes at which the circle's corner falls on every mix of odd and even, odd pictures, and one in which the circle
    // hangs over the left edge.
    const std::pair<int, int> sizes[]
        = {{320, 180}, {322, 182}, {326, 186}, {328, 186}, {1280, 720}, {321, 181}, {180, 320}, {100, 1600}, {40, 40}};
    for (const auto& [width, height] : sizes) {
        SCOPED_TRACE(testing::Message() << width << "×" << height);
        const FramePool pool(width, height);
        const VideoFrame screen = noise(pool, unsigned(width * height));
        const VideoFrame before = pool.copyOf(screen);
        const FaceCompositor compositor(width, height);
        const FaceCircle circle = compositor.circle();
        const FacePicture face = plainFace(circle.diameter, 200, 60, 190);
        const VideoFrame composed = compositor.compose(screen, face);
        ASSERT_TRUE(composed);
        EXPECT_EQ(composed.color(), screen.color());
        const int values[] = {200, 60, 190};
        for (int plane = 0; plane < 3; ++plane) {
            const int shift = shiftOf(plane);
            for (int y = 0; y < (height + shift) >> shift; ++y) {
                for (int x = 0; x < (width + shift) >> shift; ++x) {
                    const int base = before.plane(plane)[y * before.stride(plane) + x];
                    ASSERT_EQ(screen.plane(plane)[y * screen.stride(plane) + x], base) << "the source was drawn on";
                    const int got = composed.plane(plane)[y * composed.stride(plane) + x];
                    double shown = 0;
                    for (int i = 0; i < 1 << (2 * shift); ++i)
                        shown += shownAt(circle, (x << shift) + (i & 1), (y << shift) + (i >> 1));
                    shown /= 1 << (2 * shift);
                    if (shown == 0)
                        ASSERT_EQ(got, base) << plane << ": " << x << "," << y;
                    else if (shown == 1)
                        ASSERT_EQ(got, values[plane]) << plane << ": " << x << "," << y;
                    else
                        ASSERT_NEAR(got, base + (values[plane] - base) * shown, 1.2) << plane << ": " << x << "," << y;
                }
            }
        }
    }
}

TEST(FaceScaler, scaleTakesTheCentreSquareOfAnyShape)
{
    for (const auto& [width, height, turns] :
        {std::tuple{720, 1280, 0}, {1280, 720, 0}, {1280, 720, 1}, {300, 300, 0}}) {
        SCOPED_TRACE(testing::Message() << width << "×" << height);
        // Dark outside the centre square, and inside it brighter towards the end that is to be on top.
        VideoFrame camera = plain(width, height, {16, 128, 128}, limited709);
        const int side = std::min(width, height);
        const int left = (width - side) / 2;
        const int top = (height - side) / 2;
        for (int y = 0; y < side; ++y) {
            for (int x = 0; x < side; ++x) {
                // A clockwise quarter turn brings the left edge to the top.
                const int down = turns == 1 ? x : y;
                camera.writablePlane(0)[(top + y) * camera.stride(0) + left + x] = uint8_t(235 - 100 * down / side);
            }
        }
        FaceScaler scaler(141, limited709, width, height, turns);
        const std::shared_ptr<const FacePicture> face = scaler.scale(camera);
        ASSERT_TRUE(face);
        ASSERT_EQ(face->size, 141);
        for (int y = 2; y < 139; ++y) {
            for (int x = 2; x < 139; ++x)
                ASSERT_NEAR(face->planes[0][size_t(y) * 141 + size_t(x)], 235 - 100 * (y + 0.5) / 141, 2.5)
                    << x << "," << y;
        }
    }
}

TEST(FaceScaler, scaleTranslatesRangeAndMatrixToTheScreens)
{
    struct Row {
        const char* what;
        std::array<int, 3> camera;
        ColorTags from, to;
        std::array<int, 3> expected;
    };
    // Computed by hand from the definitions of both matrices.
    const Row rows[] = {
        {"full white on limited", {255, 128, 128}, full709, limited709, {235, 128, 128}},
        {"full black on limited", {0, 128, 128}, full709, limited709, {16, 128, 128}},
        {"limited white on full", {235, 128, 128}, limited709, full709, {255, 128, 128}},
        {"601 green on 709", {145, 54, 34}, limited601, limited709, {173, 42, 26}},
        {"601 red on 709", {81, 90, 240}, limited601, limited709, {63, 102, 240}},
        {"709 blue on 601", {32, 240, 118}, limited709, limited601, {41, 240, 110}},
        {"same stays", {77, 99, 155}, limited709, limited709, {77, 99, 155}},
    };
    for (const Row& row : rows) {
        FaceScaler scaler(60, row.to, 320, 240, 0);
        const std::shared_ptr<const FacePicture> face = scaler.scale(plain(320, 240, row.camera, row.from));
        ASSERT_TRUE(face);
        const std::array<int, 3> got = middleOf(*face);
        for (size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(got[i], row.expected[i], 2) << row.what << ", plane " << i;
    }
}

TEST(FaceScaler, scaleUntaggedPicturesGoByTheirHeight)
{
    const std::array<int, 3> green601{145, 54, 34};
    FaceScaler small(60, limited709, 640, 480, 0);
    EXPECT_NEAR(middleOf(*small.scale(plain(640, 480, green601, {})))[0], 173, 2) << "taken as BT.601";
    FaceScaler large(60, limited709, 1280, 720, 0);
    EXPECT_NEAR(middleOf(*large.scale(plain(1280, 720, green601, {})))[0], 145, 1) << "taken as BT.709";
}

} // namespace kelmo
