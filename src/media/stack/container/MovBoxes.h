#pragma once

#include "media/stack/core/MediaTime.h"

#include <QFile>

#include <map>
#include <vector>

namespace kelmo {

/// What a QuickTime or MP4 file's own boxes say: where its media data lies, and each track's edit list and sample
/// tables as written. Read in a few reads, the tables not looked into; any thread.
struct MovBoxes {
    struct ByteRange {
        int64_t start = 0; ///< Included.
        int64_t end = 0; ///< Not included.
    };
    /// An entry of an edit list. `mediaTime` is in the track's ticks, -1 for an empty stretch; `duration` is in the
    /// movie's ticks, 0 for "until the media ends".
    struct Edit {
        int64_t duration = 0;
        int64_t mediaTime = 0;
    };
    /// The bodies of a track's sample tables, as they stand in the file; empty for those it does not have.
    struct SampleTables {
        QByteArrayView timeToSample; ///< `stts`
        QByteArrayView compositionOffsets; ///< `ctts`
        QByteArrayView sampleSizes; ///< `stsz`
        QByteArrayView sampleToChunk; ///< `stsc`
        QByteArrayView chunkOffsets; ///< `stco`, or `co64` when `wideOffsets`.
        QByteArrayView syncSamples; ///< `stss`
        bool wideOffsets = false;
        bool hasOthers = false; ///< There are tables of a rarer kind that say more about samples.
    };
    /// Four bytes to be read as another number, big-endian, than they are.
    struct Patch {
        int64_t at = 0; ///< Bytes from the start of the file.
        uint32_t number = 0;
    };
    struct Clock {
        int64_t timescale = 0; ///< Ticks a second.
        int64_t duration = 0; ///< Ticks; 0 when unknown.
    };
    struct TrackBoxes {
        Clock clock;
        std::vector<Edit> edits;
        SampleTables samples;
    };

    std::vector<ByteRange> mediaData; ///< The bodies of the `mdat` boxes, ascending.
    std::map<int, TrackBoxes> tracks; ///< By track id; their tables point into `movie`.
    QByteArray movie; ///< The body of the `moov` box.
    std::vector<int64_t> tableTypes; ///< Where in the file the types of the sample tables' boxes stand, ascending.
    std::vector<Patch> corrections; ///< Of sample counts that nothing in the file can back up, ascending.
    int64_t movieTimescale = 0;
    int64_t movieDuration = 0; ///< Ticks of the movie; 0 when unknown.
    bool hasMovie = false; ///< A whole `moov` box was there.
    bool isPlain = false; ///< There is one `moov` box, which lists all samples of tracks that are told apart.

    /// Reads the box structure of an open file. A file of another kind, or a damaged one, gives what could be read.
    [[nodiscard]] static MovBoxes read(QFile& file);

    [[nodiscard]] bool isMediaData(int64_t start, int64_t end) const;
    [[nodiscard]] bool hasEdits() const; ///< Of any track.
};

} // namespace kelmo
