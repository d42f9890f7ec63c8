#include "tools/moviemaker/FrameCode.h"

#include <QPainter>

namespace kelmo {

namespace {

constexpr int kColumns = 8;
constexpr int kRows = 4;
constexpr double kCellWidth = 1.0 / 20; // Of the picture's width.
constexpr double kCellHeight = 1.0 / 12; // Of the picture's height.
constexpr double kDarkest = 95; // Between these two a cell is neither black nor white.
constexpr double kBrightest = 160;

struct Cell {
    int left;
    int top;
    int right; ///< Exclusive, like bottom.
    int bottom;
};

Cell cellAt(int index, int width, int height)
{
    const int column = index % kColumns;
    const int row = index / kColumns;
    return {qRound(column * kCellWidth * width), qRound(row * kCellHeight * height),
        qRound((column + 1) * kCellWidth * width), qRound((row + 1) * kCellHeight * height)};
}

/// CRC-8. Its start value keeps an all-black or all-white picture from reading as a number.
uint32_t checkOf(uint32_t number)
{
    uint32_t check = 0x5A;
    for (int bit = 23; bit >= 0; --bit) {
        const bool carry = ((check >> 7) ^ (number >> bit)) & 1;
        check = ((check << 1) ^ (carry ? 0x07U : 0U)) & 0xFF;
    }
    return check;
}

uint32_t cellsOf(int number)
{
    const auto value = static_cast<uint32_t>(number);
    return (value << 8) | checkOf(value);
}

bool isWhite(uint32_t cells, int index) { return (cells >> (kColumns * kRows - 1 - index)) & 1; }

/// The mean of a cell's inner half, where neither blur nor a neighbour reaches.
double brightness(const uint8_t* luma, int stride, const Cell& cell)
{
    const int insetX = (cell.right - cell.left) / 4;
    const int insetY = (cell.bottom - cell.top) / 4;
    int64_t sum = 0;
    int count = 0;
    for (int y = cell.top + insetY; y < cell.bottom - insetY; ++y) {
        for (int x = cell.left + insetX; x < cell.right - insetX; ++x, ++count)
            sum += luma[static_cast<ptrdiff_t>(y) * stride + x];
    }
    return count > 0 ? static_cast<double>(sum) / count : (kDarkest + kBrightest) / 2;
}

} // namespace

void drawFrameCode(QImage& picture, int number)
{
    QPainter painter(&picture);
    for (int index = 0; index < kColumns * kRows; ++index) {
        const Cell cell = cellAt(index, picture.width(), picture.height());
        painter.fillRect(cell.left, cell.top, cell.right - cell.left, cell.bottom - cell.top,
            isWhite(cellsOf(number), index) ? Qt::white : Qt::black);
    }
}

void drawFrameCode(uint8_t* luma, int stride, int width, int height, int number)
{
    for (int index = 0; index < kColumns * kRows; ++index) {
        const Cell cell = cellAt(index, width, height);
        const uint8_t value = isWhite(cellsOf(number), index) ? 235 : 16;
        for (int y = cell.top; y < cell.bottom; ++y)
            std::fill_n(luma + static_cast<ptrdiff_t>(y) * stride + cell.left, cell.right - cell.left, value);
    }
}

std::optional<int> readFrameCode(const QImage& picture)
{
    const QImage grey = picture.convertToFormat(QImage::Format_Grayscale8);
    return readFrameCode(grey.constBits(), static_cast<int>(grey.bytesPerLine()), grey.width(), grey.height());
}

std::optional<int> readFrameCode(const uint8_t* luma, int stride, int width, int height)
{
    uint32_t cells = 0;
    for (int index = 0; index < kColumns * kRows; ++index) {
        const double value = brightness(luma, stride, cellAt(index, width, height));
        if (value > kDarkest && value < kBrightest)
            return std::nullopt;
        cells = (cells << 1) | (value >= kBrightest ? 1U : 0U);
    }
    if (checkOf(cells >> 8) != (cells & 0xFF))
        return std::nullopt;
    return static_cast<int>(cells >> 8);
}

} // namespace kelmo
