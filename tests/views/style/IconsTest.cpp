#include "views/style/Icons.h"

#include <gtest/gtest.h>

namespace kelmo {

TEST(Icons, everySymbolIsDrawnSharpInTheColourAskedFor)
{
    const QColor color(255, 204, 20);
    for (int symbol = 0; symbol <= int(Icons::Symbol::Film); ++symbol) {
        const QPixmap pixmap = Icons::pixmap(Icons::Symbol(symbol), color, 16, 1.5);
        ASSERT_EQ(pixmap.size(), QSize(24, 24)) << symbol;
        const QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
        int covered = 0;
        for (int y = 0; y < 24; ++y) {
            for (int x = 0; x < 24; ++x) {
                const QRgb pixel = image.pixel(x, y);
                if (qAlpha(pixel) != 255)
                    continue;
                ++covered;
                ASSERT_EQ(pixel, color.rgb()) << symbol;
            }
        }
        EXPECT_GT(covered, 8) << symbol << " has its file and its shape";
    }
}

} // namespace kelmo
