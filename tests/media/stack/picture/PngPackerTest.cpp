#include "media/stack/picture/PngPacker.h"

#include <QColorSpace>
#include <QImage>

#include <gtest/gtest.h>

#include <random>

using namespace kelmo;

namespace {

/// Noise above, one colour below, so that some of it packs well and some not at all.
QImage picture(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB888);
    std::minstd_rand random(unsigned(width * 31 + height));
    for (int y = 0; y < height; ++y) {
        uchar* row = image.scanLine(y);
        for (int x = 0; x < width * 3; ++x)
            row[x] = y < height / 2 ? uchar(random() >> 8) : uchar(200);
    }
    return image;
}

/// The image's channels apart, with a gap behind each row.
class Channels {
public:
    explicit Channels(const QImage& image)
        : m_stride(image.width() + 5)
    {
        for (int channel = 0; channel < 3; ++channel) {
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < m_stride; ++x)
                    m_bytes[channel].push_back(x < image.width() ? image.constScanLine(y)[3 * x + channel] : 99);
            }
        }
    }
    [[nodiscard]] PngPacker::Planes planes() const
    {
        return {m_bytes[0].data(), m_bytes[1].data(), m_bytes[2].data(), m_stride};
    }

private:
    int m_stride;
    std::vector<uint8_t> m_bytes[3];
};

} // namespace

TEST(PngPacker, packOfAnySizeReadsBackTheSamePixels)
{
    const QSize sizes[] = {{1, 1}, {1, 300}, {300, 1}, {17, 63}, {17, 64}, {641, 129}, {1920, 1080}};
    for (const QSize size : sizes) {
        const QImage image = picture(size.width(), size.height());
        const Channels channels(image);
        const QByteArray png = PngPacker::pack(channels.planes(), size.width(), size.height());
        QImage read = QImage::fromData(png, "PNG").convertToFormat(QImage::Format_RGB888);
        EXPECT_EQ(read.colorSpace(), QColorSpace(QColorSpace::SRgb));
        read.setColorSpace({});
        EXPECT_EQ(read, image) << size.width() << " by " << size.height();
    }
}
