#pragma once

// Edit lists of finished .mov and .mp4 files, written the way recorders and editors write them and libav's muxer
// cannot: several entries, a start between two frames or on a B-frame, a pause in front. Plain functions, any thread.

#include "platform/Error.h"

#include <vector>

namespace kelmo {

struct EditListEntry {
    int64_t segmentDuration = 0; ///< In movie timescale units.
    int64_t mediaTime = 0; ///< In the track's own units, or EditListEntry::Empty.

    static constexpr int64_t Empty = -1;
    bool operator==(const EditListEntry&) const = default;
};

/// Puts `entries` in place of the edit list of track `track` (0-based, in the file's order: video first, as MovieMaker
/// writes them) and sets the track's and the movie's duration to match. No entries remove the list. The tables move
/// to the end of the file, where they can grow. Fails when the file has no moov box or no such track.
[[nodiscard]] Result<void> writeEditList(const QString& path, int track, const std::vector<EditListEntry>& entries);

/// The edit list of a track, empty when it has none.
[[nodiscard]] Result<std::vector<EditListEntry>> readEditList(const QString& path, int track);

} // namespace kelmo
