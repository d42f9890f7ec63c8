#include "media/stack/picture/PngPacker.h"

#include <QtEndian>

#include <algorithm>
#include <isa-l.h>
#include <memory>
#include <vector>

namespace kelmo {

namespace {

/// One zlib stream, growing as its bytes come.
class Deflater {
public:
    Deflater()
    {
        isal_deflate_init(m_stream.get());
        m_stream->gzip_flag = IGZIP_ZLIB;
        // The first level with codes made for the picture; more would hardly make it smaller.
        m_stream->level = 1;
        m_stream->level_buf = m_work.data();
        m_stream->level_buf_size = uint32_t(m_work.size());
    }

    void add(std::vector<uint8_t>& bytes, bool last)
    {
        m_stream->next_in = bytes.data();
        m_stream->avail_in = uint32_t(bytes.size());
        m_stream->end_of_stream = last ? 1 : 0;
        do {
            makeRoom();
            m_good = m_good && isal_deflate(m_stream.get()) == COMP_OK;
        } while (m_good && m_stream->avail_out == 0);
    }

    /// All of it after the last addition; empty when that failed.
    [[nodiscard]] QByteArray take()
    {
        m_output.resize(m_good ? qsizetype(m_stream->total_out) : 0);
        return std::move(m_output);
    }

private:
    void makeRoom()
    {
        const qsizetype used = m_stream->total_out;
        if (used == m_output.size())
            m_output.resize(std::max(qsizetype(256 * 1024), used * 2));
        m_stream->next_out = reinterpret_cast<uint8_t*>(m_output.data()) + used;
        m_stream->avail_out = uint32_t(m_output.size() - used);
    }

    std::vector<uint8_t> m_work = std::vector<uint8_t>(ISAL_DEF_LVL1_DEFAULT);
    std::unique_ptr<isal_zstream> m_stream = std::make_unique<isal_zstream>(); // Too large for a stack.
    QByteArray m_output;
    bool m_good = true;
};

QByteArray packRows(const PngPacker::Planes& planes, int width, int height)
{
    // Each row begins with the number of its filter: none.
    std::vector<uint8_t> row(1 + size_t(width) * 3);
    Deflater deflater;
    for (int y = 0; y < height; ++y) {
        const size_t at = size_t(y) * size_t(planes.stride);
        uint8_t* pixel = row.data() + 1;
        for (int x = 0; x < width; ++x, pixel += 3) {
            pixel[0] = planes.red[at + size_t(x)];
            pixel[1] = planes.green[at + size_t(x)];
            pixel[2] = planes.blue[at + size_t(x)];
        }
        deflater.add(row, y + 1 == height);
    }
    return deflater.take();
}

void appendNumber(QByteArray& bytes, uint32_t number)
{
    const uint32_t big = qToBigEndian(number);
    bytes.append(reinterpret_cast<const char*>(&big), sizeof big);
}

void appendChunk(QByteArray& png, const char* type, const QByteArray& content)
{
    appendNumber(png, uint32_t(content.size()));
    const qsizetype checkedFrom = png.size();
    png.append(type, 4).append(content);
    const auto* checked = reinterpret_cast<const unsigned char*>(png.constData() + checkedFrom);
    appendNumber(png, crc32_gzip_refl(0, checked, uint64_t(png.size() - checkedFrom)));
}

QByteArray header(int width, int height)
{
    QByteArray bytes;
    appendNumber(bytes, uint32_t(width));
    appendNumber(bytes, uint32_t(height));
    // Eight bits a channel, true colour, the only packing and filtering there are, no interlacing.
    return bytes.append("\x08\x02\x00\x00\x00", 5);
}

} // namespace

QByteArray PngPacker::pack(const Planes& planes, int width, int height)
{
    const QByteArray data = packRows(planes, width, height);
    if (data.isEmpty())
        return {};
    QByteArray png("\x89PNG\r\n\x1a\n", 8);
    png.reserve(data.size() + 128);
    appendChunk(png, "IHDR", header(width, height));
    appendChunk(png, "sRGB", QByteArray(1, '\0'));
    appendChunk(png, "IDAT", data);
    appendChunk(png, "IEND", {});
    return png;
}

} // namespace kelmo
