#include "media/FaceCompositor.h"

#include <algorithm>
#include <cmath>

namespace kelmo {

namespace {

constexpr double diameterShare = 0.26;
constexpr double marginShare = 0.04;
constexpr double softEdge = 1.5; ///< Pixels.
constexpr int prewarmSize = 64;

/// b where alpha is 0, f where it is 255, rounded to the nearest between.
uint8_t blended(int b, int f, int alpha)
{
    const int v = b * (255 - alpha) + f * alpha + 128;
    return uint8_t((v + (v >> 8)) >> 8);
}

std::vector<uint8_t> circleAlpha(int diameter)
{
    std::vector<uint8_t> alpha(size_t(diameter) * size_t(diameter));
    const double centre = diameter / 2.0;
    for (int y = 0; y < diameter; ++y) {
        for (int x = 0; x < diameter; ++x) {
            const double distance = std::hypot(x + 0.5 - centre, y + 0.5 - centre);
            const double inside = std::clamp((centre - distance) / softEdge, 0.0, 1.0);
            alpha[size_t(y) * size_t(diameter) + size_t(x)] = uint8_t(std::lround(255 * inside));
        }
    }
    return alpha;
}

} // namespace

void FaceCompositor::prewarm()
{
    const FaceCompositor compositor(prewarmSize, prewarmSize);
    const ColorTags color = ColorTags().completed(prewarmSize);
    const VideoFrame black = compositor.m_pool.black(color);
    FaceScaler scaler(compositor.faceSize(), color, prewarmSize, prewarmSize, 0);
    const std::shared_ptr<const FacePicture> face = black ? scaler.scale(black) : nullptr;
    if (face)
        (void)compositor.compose(black, *face);
}

FaceCircle FaceCircle::in(int width, int height)
{
    const int diameter = int(std::round(std::min(width, height) * diameterShare));
    const int margin = int(std::round(height * marginShare));
    return {diameter, width - margin - diameter, height - margin - diameter};
}

FaceCompositor::FaceCompositor(int width, int height)
    : m_pool(width, height)
    , m_circle(FaceCircle::in(width, height))
    , m_alpha(circleAlpha(m_circle.diameter))
{
}

VideoFrame FaceCompositor::compose(const VideoFrame& screen, const FacePicture& face) const
{
    // Pictures are shared with the decoder, which may still refer to them.
    VideoFrame picture = m_pool.copyOf(screen);
    if (!picture)
        return {};
    blendLuma(picture, face);
    blendChroma(picture, face, 1);
    blendChroma(picture, face, 2);
    return picture;
}

void FaceCompositor::blendLuma(VideoFrame& picture, const FacePicture& face) const
{
    const int size = m_circle.diameter;
    const int left = std::max(0, -m_circle.left);
    for (int y = std::max(0, -m_circle.top); y < size; ++y) {
        uint8_t* out = picture.writablePlane(0) + ptrdiff_t(m_circle.top + y) * picture.stride(0) + m_circle.left;
        const uint8_t* in = face.planes[0].data() + ptrdiff_t(y) * size;
        const uint8_t* alpha = m_alpha.data() + ptrdiff_t(y) * size;
        for (int x = left; x < size; ++x)
            out[x] = blended(out[x], in[x], alpha[x]);
    }
}

/// A chroma sample covers four pixels, of which the circle's square may hold one, two or four, depending on where it
/// lies: each counts by how much of the face shows in it.
void FaceCompositor::blendChroma(VideoFrame& picture, const FacePicture& face, int plane) const
{
    const int size = m_circle.diameter;
    const int lastColumn = (m_circle.left + size - 1) / 2;
    const int lastRow = (m_circle.top + size - 1) / 2;
    for (int row = std::max(0, m_circle.top / 2); row <= lastRow; ++row) {
        uint8_t* out = picture.writablePlane(plane) + ptrdiff_t(row) * picture.stride(plane);
        for (int column = std::max(0, m_circle.left / 2); column <= lastColumn; ++column) {
            int shown = 0;
            int sum = 0;
            for (int pixel = 0; pixel < 4; ++pixel) {
                const int x = 2 * column + (pixel & 1) - m_circle.left;
                const int y = 2 * row + (pixel >> 1) - m_circle.top;
                if (x < 0 || y < 0 || x >= size || y >= size)
                    continue;
                const size_t at = size_t(y) * size_t(size) + size_t(x);
                shown += m_alpha[at];
                sum += m_alpha[at] * face.planes[size_t(plane)][at];
            }
            out[column] = uint8_t((out[column] * (4 * 255 - shown) + sum + 2 * 255) / (4 * 255));
        }
    }
}

} // namespace kelmo
