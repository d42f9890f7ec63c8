#include "media/stack/container/MovBoxes.h"

#include "media/stack/container/BoxBytes.h"
#include "media/stack/container/FragmentRuns.h"

#include <algorithm>

namespace kelmo {

namespace {

constexpr int64_t largestMovieBox = 512LL << 20;
constexpr int64_t largestFragmentBox = 64LL << 20;

/// The clock of an `mvhd` or `mdhd` body, which share their first fields.
MovBoxes::Clock clockOf(BoxBytes header)
{
    const bool wide = header.u8() == 1;
    header.skip(3 + (wide ? 16 : 8));
    const int64_t timescale = header.u32();
    const uint64_t duration = wide ? header.u64() : header.u32();
    const bool unknown = duration > INT64_MAX || (!wide && duration == UINT32_MAX);
    return {timescale, unknown ? 0 : int64_t(duration)};
}

int trackIdOf(BoxBytes header)
{
    const bool wide = header.u8() == 1;
    header.skip(3 + (wide ? 16 : 8));
    return int(header.u32());
}

std::vector<MovBoxes::Edit> editsOf(BoxBytes list)
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

/// Walks through a `moov` box that has been read whole.
class MovieReader {
public:
    /// Notes what is found in `boxes`, whose `movie` stands at `position` in the file.
    MovieReader(MovBoxes& boxes, int64_t position)
        : m_boxes(boxes)
        , m_position(position)
    {
    }

    void read()
    {
        BoxBytes movie(m_boxes.movie.constData(), m_boxes.movie.size());
        uint32_t type = 0;
        BoxBytes body(nullptr, 0);
        while (movie.nextBox(type, body)) {
            if (type == tag("mvhd")) {
                m_boxes.movieTimescale = clockOf(body).timescale;
                m_boxes.movieDuration = clockOf(body).duration;
            } else if (type == tag("trak")) {
                readTrack(body);
            } else if (type == tag("mvex")) {
                m_boxes.isPlain = false;
            }
        }
    }

private:
    void readTrack(BoxBytes boxes)
    {
        int id = 0;
        MovBoxes::TrackBoxes found;
        readTrackBoxes(tag("trak"), boxes, id, found);
        m_boxes.isPlain = m_boxes.tracks.emplace(id, std::move(found)).second && m_boxes.isPlain;
    }

    /// Whether what is wanted of a track lies inside `type`, itself inside `parent`. A box in itself would have no end.
    static bool leadsOn(uint32_t parent, uint32_t type)
    {
        return (parent == tag("trak") && (type == tag("edts") || type == tag("mdia")))
            || (parent == tag("mdia") && type == tag("minf")) || (parent == tag("minf") && type == tag("stbl"));
    }

    void readTrackBoxes(uint32_t parent, BoxBytes boxes, int& id, MovBoxes::TrackBoxes& found)
    {
        uint32_t type = 0;
        BoxBytes body(nullptr, 0);
        for (const char* box = boxes.here(); boxes.nextBox(type, body); box = boxes.here()) {
            if (type == tag("tkhd"))
                id = trackIdOf(body);
            else if (type == tag("elst"))
                found.edits = editsOf(body);
            else if (type == tag("mdhd"))
                found.clock = clockOf(body);
            else if (leadsOn(parent, type))
                readTrackBoxes(type, body, id, found);
            else
                noteTable(type, body, m_position + (box - m_boxes.movie.constData()) + 4, found.samples);
        }
    }

    void noteTable(uint32_t type, BoxBytes body, int64_t typeAt, MovBoxes::SampleTables& tables)
    {
        tables.hasOthers = tables.hasOthers || saysMore(type, body);
        tables.wideOffsets = tables.wideOffsets || type == tag("co64");
        if (QByteArrayView* const table = tableOf(type, tables)) {
            *table = QByteArrayView(body.here(), body.left());
            m_boxes.tableTypes.push_back(typeAt);
        }
    }

    /// Whether a box tells of more key samples, or of sizes in another way.
    static bool saysMore(uint32_t type, BoxBytes body)
    {
        body.skip(4);
        return type == tag("stps") || type == tag("stz2") || (type == tag("sbgp") && body.u32() == tag("rap "));
    }

    static QByteArrayView* tableOf(uint32_t type, MovBoxes::SampleTables& tables)
    {
        switch (type) {
        case tag("stts"):
            return &tables.timeToSample;
        case tag("ctts"):
            return &tables.compositionOffsets;
        case tag("stsz"):
            return &tables.sampleSizes;
        case tag("stsc"):
            return &tables.sampleToChunk;
        case tag("stco"):
        case tag("co64"):
            return &tables.chunkOffsets;
        case tag("stss"):
            return &tables.syncSamples;
        default:
            return nullptr;
        }
    }

    MovBoxes& m_boxes;
    const int64_t m_position;
};

} // namespace

MovBoxes MovBoxes::read(QFile& file)
{
    MovBoxes boxes;
    const int64_t fileSize = file.size();
    FragmentRuns runs(fileSize);
    int64_t at = 0;
    while (at + 8 <= fileSize && file.seek(at)) {
        const QByteArray head = file.read(16);
        BoxBytes bytes(head.constData(), head.size());
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
        boxes.isPlain = boxes.isPlain && type != tag("moof");
        if (type == tag("moof") && file.seek(at + headSize)) {
            const QByteArray fragment = file.read(std::min({int64_t(size) - headSize, fileSize, largestFragmentBox}));
            runs.readFragment({fragment.constData(), fragment.size()}, at + headSize);
        }
        if (type == tag("mdat"))
            boxes.mediaData.push_back({at + headSize, std::min(end, fileSize)});
        if (type == tag("moov") && boxes.hasMovie) {
            boxes.isPlain = false;
        } else if (type == tag("moov") && end <= fileSize && int64_t(size) < largestMovieBox
            && file.seek(at + headSize)) {
            boxes.isPlain = boxes.hasMovie = true;
            boxes.movie = file.read(int64_t(size) - headSize);
            MovieReader(boxes, at + headSize).read();
            runs.readDefaults({boxes.movie.constData(), boxes.movie.size()});
        }
        at = end;
    }
    boxes.corrections = runs.corrections();
    return boxes;
}

bool MovBoxes::isMediaData(int64_t start, int64_t end) const
{
    const auto next = std::upper_bound(
        mediaData.begin(), mediaData.end(), start, [](int64_t at, const ByteRange& range) { return at < range.start; });
    return next != mediaData.begin() && end <= std::prev(next)->end;
}

bool MovBoxes::hasEdits() const
{
    return std::any_of(tracks.begin(), tracks.end(), [](const auto& track) { return !track.second.edits.empty(); });
}

} // namespace kelmo
