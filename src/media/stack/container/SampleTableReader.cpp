#include "media/stack/container/PacketScan.h"

#include <QtEndian>

namespace kelmo {

namespace {

constexpr uint32_t maxReserved = 4'000'000; // A damaged table may claim anything.
constexpr uint32_t pcmFramesASample = 1024;

/// The big-endian numbers of a table, in rows of `columns`, behind a head that ends in the number of rows.
class Table {
public:
    Table(QByteArrayView bytes, int columns, int headSize = 8)
        : m_numbers(bytes.constData() + std::min<qsizetype>(headSize, bytes.size()))
        , m_columns(columns)
    {
        if (bytes.size() < headSize)
            return;
        m_rows = qFromBigEndian<uint32_t>(bytes.constData() + headSize - 4);
        m_isWhole = int64_t(m_rows) * columns * 4 <= bytes.size() - headSize;
    }

    [[nodiscard]] bool isWhole() const { return m_isWhole; }
    [[nodiscard]] uint32_t rows() const { return m_rows; }
    [[nodiscard]] uint32_t at(uint32_t row, int column = 0) const
    {
        return qFromBigEndian<uint32_t>(m_numbers + (size_t(row) * size_t(m_columns) + size_t(column)) * 4);
    }

private:
    const char* m_numbers;
    const int m_columns;
    uint32_t m_rows = 0;
    bool m_isWhole = false;
};

/// A table of "so many times this value", read value by value.
class Runs {
public:
    explicit Runs(QByteArrayView bytes)
        : m_table(bytes, 2)
    {
    }

    [[nodiscard]] bool isWhole() const { return m_table.isWhole(); }
    [[nodiscard]] const Table& table() const { return m_table; }

    /// The next value; none when there are no more, or when it is no sane one.
    std::optional<int32_t> next()
    {
        while (m_left == 0) {
            if (m_row == m_table.rows())
                return std::nullopt;
            m_left = m_table.at(m_row, 0);
            m_value = int32_t(m_table.at(m_row++, 1));
        }
        --m_left;
        return m_value;
    }

private:
    const Table m_table;
    uint32_t m_row = 0;
    uint32_t m_left = 0;
    int32_t m_value = 0;
};

/// Where the chunks are, and how many samples each has.
class Chunks {
public:
    explicit Chunks(const MovBoxes::SampleTables& tables)
        : m_runs(tables.sampleToChunk, 3)
        , m_offsets(tables.chunkOffsets, tables.wideOffsets ? 2 : 1)
        , m_wide(tables.wideOffsets)
    {
    }

    [[nodiscard]] bool isWhole() const
    {
        return m_runs.isWhole() && m_offsets.isWhole() && (m_offsets.rows() == 0 || m_runs.rows() > 0);
    }

    /// Goes to the next chunk. False after the last one.
    bool next()
    {
        if (m_next == m_offsets.rows())
            return false;
        const uint64_t offset
            = m_wide ? uint64_t(m_offsets.at(m_next, 0)) << 32 | m_offsets.at(m_next, 1) : m_offsets.at(m_next);
        position = int64_t(std::min<uint64_t>(offset, INT64_MAX / 2));
        ++m_next;
        while (m_run + 1 < m_runs.rows() && m_runs.at(m_run + 1, 0) <= m_next)
            ++m_run;
        samples = m_runs.at(m_run, 1);
        return true;
    }

    int64_t position = 0; ///< Bytes from the start of the file.
    uint32_t samples = 0;

private:
    const Table m_runs;
    const Table m_offsets;
    const bool m_wide;
    uint32_t m_next = 0;
    uint32_t m_run = 0;
};

/// The sizes of samples: one for all, or one for each.
struct Sizes {
    explicit Sizes(QByteArrayView bytes)
        : each(bytes, 1, 12)
        , ofAll(bytes.size() >= 12 ? qFromBigEndian<uint32_t>(bytes.constData() + 4) : 0)
    {
    }

    [[nodiscard]] uint32_t count() const { return each.rows(); }
    [[nodiscard]] bool isWhole() const { return (ofAll > 0 || each.isWhole()) && count() <= maxSamples; }
    [[nodiscard]] uint32_t at(uint32_t sample) const { return ofAll > 0 ? ofAll : each.at(sample); }

    const Table each;
    const uint32_t ofAll;
};

/// Puts a track's samples together from its tables.
class Listing {
public:
    Listing(const MovBoxes::TrackBoxes& track, int64_t fileSize)
        : m_track(track)
        , m_fileSize(fileSize)
        , m_times(track.samples.timeToSample)
        , m_offsets(track.samples.compositionOffsets)
        , m_sizes(track.samples.sampleSizes)
        , m_chunks(track.samples)
        , m_keys(track.samples.syncSamples, 1)
    {
    }

    [[nodiscard]] bool isConsistent() const
    {
        const MovBoxes::SampleTables& tables = m_track.samples;
        return !tables.hasOthers && m_times.isWhole() && m_sizes.isWhole() && m_chunks.isWhole()
            && (m_offsets.isWhole() || tables.compositionOffsets.isEmpty())
            && (tables.syncSamples.isEmpty() || (m_keys.isWhole() && m_keys.rows() > 0));
    }

    /// As uncompressed sound has.
    [[nodiscard]] bool hasSampleForEachTick() const
    {
        return m_times.table().rows() == 1 && m_times.table().at(0, 1) == 1;
    }

    std::optional<StreamSamples> samples()
    {
        if (m_sizes.ofAll > 0 && int64_t(m_sizes.count()) * m_sizes.ofAll > m_fileSize)
            return std::nullopt;
        m_listed.samples.reserve(std::min(m_sizes.count(), maxReserved));
        while (m_chunks.next()) {
            int64_t position = m_chunks.position;
            for (uint32_t i = 0; i < m_chunks.samples; ++i) {
                if (m_number == m_sizes.count() || !add(position))
                    return std::nullopt;
            }
        }
        if (m_number != m_sizes.count())
            return std::nullopt;
        // As the demuxer has it: nothing is decoded after it is shown.
        for (Sample& sample : m_listed.samples)
            sample.dts -= m_earliestOffset;
        return finished();
    }

    StreamSamples pcm(int frameSize)
    {
        const int64_t frames = m_times.table().at(0, 0);
        while (m_chunks.next()) {
            int64_t position = m_chunks.position;
            for (uint32_t left = m_chunks.samples; left > 0 && m_time < frames;) {
                const uint32_t count = std::min(left, pcmFramesASample);
                const Sample sample{m_time, m_time, position, int32_t(count) * frameSize, true};
                m_isComplete = m_isComplete && position + sample.size <= m_fileSize;
                if (!m_isComplete)
                    return finished();
                m_listed.samples.push_back(sample);
                left -= count;
                m_lastDelta = count;
                m_time += count;
                position += sample.size;
            }
        }
        return finished();
    }

private:
    bool add(int64_t& position)
    {
        const uint32_t size = m_sizes.at(m_number);
        const std::optional<int32_t> delta = m_times.next();
        const std::optional<int32_t> offset = m_track.samples.compositionOffsets.isEmpty() ? 0 : m_offsets.next();
        if (!delta || *delta < 0 || !offset || size > INT32_MAX)
            return false;
        const bool key = isKey(++m_number);
        // Recorders write empty samples for frames that they dropped; what was shown before them stays.
        if (size > 0 && position + size <= m_fileSize)
            m_listed.samples.push_back({m_time + *offset, m_time, position, int32_t(size), key});
        m_earliestOffset = std::max<int64_t>(m_earliestOffset, -int64_t(*offset));
        m_isComplete = m_isComplete && position + size <= m_fileSize;
        m_lastDelta = *delta;
        m_time += *delta;
        position += size;
        return true;
    }

    /// Whether the sample of this number, from 1, is a key. To be asked in ascending order.
    bool isKey(uint32_t number)
    {
        while (m_key < m_keys.rows() && m_keys.at(m_key) < number)
            ++m_key;
        return m_track.samples.syncSamples.isEmpty() || (m_key < m_keys.rows() && m_keys.at(m_key) == number);
    }

    StreamSamples finished()
    {
        m_listed.lastDuration = m_lastDelta;
        m_listed.isComplete = m_isComplete;
        const int64_t declared = m_track.clock.duration > 0 ? std::min(m_track.clock.duration, m_time) : m_time;
        if (m_isComplete)
            m_listed.settleLastDuration(declared, m_track.clock.timescale);
        return std::move(m_listed);
    }

    const MovBoxes::TrackBoxes& m_track;
    const int64_t m_fileSize;
    Runs m_times;
    Runs m_offsets;
    const Sizes m_sizes;
    Chunks m_chunks;
    const Table m_keys;
    StreamSamples m_listed;
    uint32_t m_number = 0; ///< Samples seen.
    uint32_t m_key = 0; ///< The row of the next key.
    int64_t m_time = 0; ///< Ticks, when the next sample is decoded.
    int64_t m_lastDelta = 0;
    int64_t m_earliestOffset = 0; ///< How far before its decoding time a sample is shown at most.
    bool m_isComplete = true;
};

} // namespace

std::optional<StreamSamples> readSampleTable(
    const MovBoxes::TrackBoxes& track, int64_t fileSize, std::optional<int> soundFrameSize)
{
    Listing listing(track, fileSize);
    if (!listing.isConsistent())
        return std::nullopt;
    if (!soundFrameSize || !listing.hasSampleForEachTick())
        return listing.samples();
    return *soundFrameSize > 0 ? std::optional(listing.pcm(*soundFrameSize)) : std::nullopt;
}

} // namespace kelmo
