#pragma once

#include "media/stack/MediaTime.h"

#include <QFile>

#include <map>
#include <vector>

namespace kelmo {

/// What a QuickTime or MP4 file's own boxes say that the demuxer does not pass on: where its media data lies, and each
/// track's edit list as written. Read in a few small reads; any thread.
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
    /// How much later than decoded the next `count` samples are shown, in the track's ticks.
    struct Offset {
        uint32_t count = 0;
        int32_t offset = 0;
    };
    struct TrackBoxes {
        int64_t timescale = 0;
        std::vector<Edit> edits;
        std::vector<Offset> offsets; ///< Empty when samples are shown as they are decoded.
    };

    std::vector<ByteRange> mediaData; ///< The bodies of the `mdat` boxes, ascending.
    std::map<int, TrackBoxes> tracks; ///< By track id.
    int64_t movieTimescale = 0;
    bool hasMovie = false; ///< A whole `moov` box was there.
    bool isFragmented = false; ///< There are samples that it does not list.

    /// Reads the box structure of an open file. A file of another kind, or a damaged one, gives what could be read.
    [[nodiscard]] static MovBoxes read(QFile& file);

    [[nodiscard]] bool isMediaData(int64_t start, int64_t end) const;
};

} // namespace kelmo
