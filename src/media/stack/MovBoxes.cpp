#include "media/stack/MovBoxes.h"

#include <QtEndian>

#include <algorithm>

namespace kelmo {

namespace {

constexpr int64_t largestMovieBox = 512LL << 20;

constexpr uint32_t tag(const char (&name)[5])
{
    return uint32_t(uint8_t(name[0])) << 24 | uint32_t(uint8_t(name[1])) << 16 | uint32_t(uint8_t(name[2])) << 8
        | uint32_t(uint8_t(name[3]));
}

/// A stretch of bytes read from its front, which answers 0 once it has run out.
class Bytes {
public:
    Bytes(const char* data, int64_t size)
        : m_data(data)
        , m_left(size)
    {
    }

    [[nodiscard]] int64_t left() const { return m_left; }
    void skip(int64_t count) { take(count); }
    uint8_t u8() { return number<uint8_t>(); }
    uint32_t u32() { return number<uint32_t>(); }
    uint64_t u64() { return number<uint64_t>(); }

    /// The next `count` bytes, or as many as there are.
    Bytes take(int64_t count)
    {
        count = std::clamp<int64_t>(count, 0, m_left);
        const Bytes part(m_data, count);
        m_data += count;
        m_left -= count;
        return part;
    }

    /// The next box inside these bytes: its type and its body. False at the end.
    bool nextBox(uint32_t& type, Bytes& body)
    {
        if (m_left < 8)
            return false;
        uint64_t size = u32();
        type = u32();
        uint64_t head = 8;
        if (size == 1) {
            size = u64();
            head = 16;
        } else if (size == 0) {
            size = uint64_t(m_left) + head;
        }
        if (size < head)
            return false;
        body = take(int64_t(std::min<uint64_t>(size - head, uint64_t(m_left))));
        return true;
    }

private:
    template <class T> T number()
    {
        if (m_left < int64_t(sizeof(T))) {
            m_left = 0;
            return 0;
        }
        const T value = qFromBigEndian<T>(m_data);
        skip(sizeof(T));
        return value;
    }

    const char* m_data;
    int64_t m_left;
};

/// The time scale of an `mvhd` or `mdhd` body, which share their first fields.
int64_t timescaleOf(Bytes header)
{
    const bool wide = header.u8() == 1;
    header.skip(3 + (wide ? 16 : 8));
    return header.u32();
}

int trackIdOf(Bytes header)
{
    const bool wide = header.u8() == 1;
    header.skip(3 + (wide ? 16 : 8));
    return int(header.u32());
}

std::vector<MovBoxes::Edit> editsOf(Bytes list)
{
    const bool wide = list.u8() == 1;
    list.skip(3);
    const uint32_t count = list.u32();
    std::vector<MovBoxes::Edit> edits;
    for (uint32_t i = 0; i < count && list.left() >= (wide ? 20 : 12); ++i) {
        MovBoxes::Edit edit;
        edit.duration = wide ? int64_t(list.u64()) : int64_t(list.u32());
        edit.mediaTime = wide ? int64_t(list.u64()) : int64_t(int32_t(list.u32()));
        list.skip(4);
        edits.push_back(edit);
    }
    return edits;
}

std::vector<MovBoxes::Offset> offsetsOf(Bytes list)
{
    list.skip(4);
    const uint32_t count = list.u32();
    std::vector<MovBoxes::Offset> offsets;
    for (uint32_t i = 0; i < count && list.left() >= 8; ++i) {
        const uint32_t samples = list.u32();
        offsets.push_back({samples, int32_t(list.u32())});
    }
    return offsets;
}

/// Reads what is wanted of a track's boxes, at whatever depth it lies.
void readTrackBoxes(Bytes boxes, int& id, MovBoxes::TrackBoxes& found)
{
    uint32_t type = 0;
    Bytes body(nullptr, 0);
    while (boxes.nextBox(type, body)) {
        if (type == tag("tkhd"))
            id = trackIdOf(body);
        else if (type == tag("elst"))
            found.edits = editsOf(body);
        else if (type == tag("mdhd"))
            found.timescale = timescaleOf(body);
        else if (type == tag("ctts"))
            found.offsets = offsetsOf(body);
        else if (type == tag("edts") || type == tag("mdia") || type == tag("minf") || type == tag("stbl"))
            readTrackBoxes(body, id, found);
    }
}

void readTrack(Bytes track, MovBoxes& boxes)
{
    int id = 0;
    MovBoxes::TrackBoxes found;
    readTrackBoxes(track, id, found);
    boxes.tracks[id] = std::move(found);
}

void readMovie(Bytes movie, MovBoxes& boxes)
{
    uint32_t type = 0;
    Bytes body(nullptr, 0);
    while (movie.nextBox(type, body)) {
        if (type == tag("mvhd"))
            boxes.movieTimescale = timescaleOf(body);
        else if (type == tag("trak"))
            readTrack(body, boxes);
        else if (type == tag("mvex"))
            boxes.isFragmented = true;
    }
}

} // namespace

MovBoxes MovBoxes::read(QFile& file)
{
    MovBoxes boxes;
    const int64_t fileSize = file.size();
    int64_t at = 0;
    while (at + 8 <= fileSize && file.seek(at)) {
        const QByteArray head = file.read(16);
        Bytes bytes(head.constData(), head.size());
        uint64_t size = bytes.u32();
        const uint32_t type = bytes.u32();
        int64_t headSize = 8;
        if (size == 1) {
            size = bytes.u64();
            headSize = 16;
        } else if (size == 0) {
            size = uint64_t(fileSize - at);
        }
        if (size < uint64_t(headSize) || size > uint64_t(INT64_MAX - at))
            break;
        const int64_t end = at + int64_t(size);
        boxes.isFragmented = boxes.isFragmented || type == tag("moof");
        if (type == tag("mdat"))
            boxes.mediaData.push_back({at + headSize, std::min(end, fileSize)});
        if (type == tag("moov") && end <= fileSize && int64_t(size) < largestMovieBox && file.seek(at + headSize)) {
            const QByteArray movie = file.read(int64_t(size) - headSize);
            readMovie(Bytes(movie.constData(), movie.size()), boxes);
            boxes.hasMovie = true;
        }
        at = end;
    }
    return boxes;
}

bool MovBoxes::isMediaData(int64_t start, int64_t end) const
{
    const auto next = std::upper_bound(
        mediaData.begin(), mediaData.end(), start, [](int64_t at, const ByteRange& range) { return at < range.start; });
    return next != mediaData.begin() && end <= std::prev(next)->end;
}

} // namespace kelmo
