#include "media/stack/PngPacker.h"

#include <QColorSpace>
#include <QImage>

#include <gtest/gtest.h>

#include <random>

using namespace kelmo;

namespace {

/// Noise above, one colour below, so that some stripes pack well and others not at all.
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

} // namespace

TEST(PngPacker, packOfAnySizeReadsBackTheSamePixels)
{
    const QSize sizes[] = {{1, 1}, {1, 300}, {300, 1}, {17, 63}, {17, 64}, {641, 129}, {1920, 1080}};
    for (const QSize size : sizes) {
        const QImage image = picture(size.width(), size.height());
        const QByteArray png
            = PngPacker::pack(image.constBits(), size.width(), size.height(), int(image.bytesPerLine()));
        QImage read = QImage::fromData(png, "PNG").convertToFormat(QImage::Format_RGB888);
        EXPECT_EQ(read.colorSpace(), QColorSpace(QColorSpace::SRgb));
        read.setColorSpace({});
        EXPECT_EQ(read, image) << size.width() << " by " << size.height();
    }
}
