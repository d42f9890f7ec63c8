#include "media/stack/PngPacker.h"

#include <QtEndian>

#include <algorithm>
#include <future>
#include <thread>
#include <vector>
#include <zlib.h>

namespace kelmo {

namespace {

// Screens pack well at any strength, and the reader waits.
constexpr int compression = 1;
constexpr int leastRowsAStripe = 64;

struct Pixels {
    const uint8_t* rgb;
    int width;
    int stride;
};

/// A run of rows, packed so that the next one can follow it directly.
struct Stripe {
    QByteArray packed;
    uLong checksum = 0; ///< Adler-32 of what was packed.
    size_t rawSize = 0;
};

/// One deflate stream without header, of which each stripe is a part.
class Deflater {
public:
    explicit Deflater(QByteArray& output)
        : m_output(output)
        , m_good(
              deflateInit2(&m_stream, compression, Z_DEFLATED, -MAX_WBITS, MAX_MEM_LEVEL, Z_DEFAULT_STRATEGY) == Z_OK)
    {
    }
    ~Deflater() { deflateEnd(&m_stream); }
    Deflater(const Deflater&) = delete;
    Deflater& operator=(const Deflater&) = delete;

    /// Room for `size` bytes of input, whatever they are, and the empty block that a flush ends in.
    void reserve(size_t size)
    {
        m_output.resize(qsizetype(deflateBound(&m_stream, uLong(size))) + 16);
        m_stream.next_out = reinterpret_cast<Bytef*>(m_output.data());
        m_stream.avail_out = uInt(m_output.size());
    }

    void add(const uint8_t* bytes, size_t size, int flush = Z_NO_FLUSH)
    {
        m_stream.next_in = const_cast<Bytef*>(bytes);
        m_stream.avail_in = uInt(size);
        const int code = m_good ? deflate(&m_stream, flush) : Z_STREAM_ERROR;
        m_good = (code == Z_OK || code == Z_STREAM_END) && m_stream.avail_in == 0;
    }

    void cutOutput() { m_output.resize(m_good ? qsizetype(m_stream.total_out) : 0); }

private:
    QByteArray& m_output;
    z_stream m_stream{};
    bool m_good;
};

Stripe packRows(const Pixels& pixels, int from, int to, bool last)
{
    const size_t row = size_t(pixels.width) * 3;
    const uint8_t unfiltered = 0; // Before each row stands the number of its filter.
    Stripe stripe;
    stripe.rawSize = (row + 1) * size_t(to - from);
    stripe.checksum = adler32_z(0, nullptr, 0);
    Deflater deflater(stripe.packed);
    deflater.reserve(stripe.rawSize);
    for (int y = from; y < to; ++y) {
        const uint8_t* bytes = pixels.rgb + size_t(y) * size_t(pixels.stride);
        stripe.checksum = adler32_z(adler32_z(stripe.checksum, &unfiltered, 1), bytes, row);
        deflater.add(&unfiltered, 1);
        deflater.add(bytes, row, y + 1 < to ? Z_NO_FLUSH : last ? Z_FINISH : Z_SYNC_FLUSH);
    }
    deflater.cutOutput();
    return stripe;
}

std::vector<Stripe> packStripes(const Pixels& pixels, int height)
{
    const int cores = int(std::max(1U, std::thread::hardware_concurrency()));
    const int count = std::clamp(height / leastRowsAStripe, 1, cores);
    std::vector<std::future<Stripe>> work;
    for (int i = 0; i < count; ++i) {
        const int from = int(int64_t(height) * i / count);
        const int to = int(int64_t(height) * (i + 1) / count);
        work.push_back(std::async(i + 1 < count ? std::launch::async : std::launch::deferred,
            [=] { return packRows(pixels, from, to, i + 1 == count); }));
    }
    std::vector<Stripe> stripes(work.size());
    // The last one runs here, while the others run on the other cores.
    for (size_t i = work.size(); i-- > 0;)
        stripes[i] = work[i].get();
    return stripes;
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
    const auto* checked = reinterpret_cast<const Bytef*>(png.constData() + checkedFrom);
    appendNumber(png, uint32_t(crc32_z(crc32_z(0, nullptr, 0), checked, size_t(png.size() - checkedFrom))));
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

QByteArray PngPacker::pack(const uint8_t* rgb, int width, int height, int stride)
{
    const std::vector<Stripe> stripes = packStripes({rgb, width, stride}, height);
    QByteArray data("\x78\x01", 2);
    uLong checksum = adler32_z(0, nullptr, 0);
    for (const Stripe& stripe : stripes) {
        if (stripe.packed.isEmpty())
            return {};
        data.append(stripe.packed);
        checksum = adler32_combine(checksum, stripe.checksum, z_off_t(stripe.rawSize));
    }
    appendNumber(data, uint32_t(checksum));

    QByteArray png("\x89PNG\r\n\x1a\n", 8);
    png.reserve(data.size() + 128);
    appendChunk(png, "IHDR", header(width, height));
    appendChunk(png, "sRGB", QByteArray(1, '\0'));
    appendChunk(png, "IDAT", data);
    appendChunk(png, "IEND", {});
    return png;
}

} // namespace kelmo
