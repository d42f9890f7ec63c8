#pragma once

#include "tools/moviemaker/EditList.h"
#include "tools/moviemaker/MovieMaker.h"

#include <QTemporaryDir>

#include <vector>

namespace kelmo {

/// A movie to be measured: picture i carries the number i, and all sound is SoundCode of seed track + 1 on its own
/// clock.
struct CodedMovie {
    MovieSpec spec;
    std::vector<int64_t> times; ///< Of the pictures, in the video's time base.
    double soundSeconds = 0; ///< Length of every audio track.
    std::vector<EditListEntry> videoEdits; ///< Written afterwards, when not empty; media times count from picture 0.
    std::vector<EditListEntry> audioEdits; ///< Of the first audio track.
    double soundLevel = 0.1; ///< RMS.
    int firstNumber = 0; ///< Carried by the first picture.
};

/// Writes it to spec.path; fails the test when that does not work.
void make(const CodedMovie& movie);

/// `count` times that are `step` apart.
[[nodiscard]] std::vector<int64_t> steadyTimes(int count, int64_t step, int64_t first = 0);
/// `count` times with gaps of `least` to `most`, always the same for a seed.
[[nodiscard]] std::vector<int64_t> unevenTimes(int count, int64_t least, int64_t most, unsigned seed);

/// A small H.264 movie spec to start from: 320×180, time base 1/600, in `folder`.
[[nodiscard]] MovieSpec smallMovie(const QTemporaryDir& folder, const QString& name);

} // namespace kelmo
