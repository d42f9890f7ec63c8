#pragma once

#include "media/stack/container/BoxBytes.h"
#include "media/stack/container/MovBoxes.h"

#include <map>
#include <vector>

namespace kelmo {

/// Finds the runs of samples in a fragmented movie (its `trun` boxes) that claim more samples than their own table, or
/// the file, has room for. A reader that believes them allots gigabytes for a small file. Owned by the opener that
/// reads the boxes; any one thread.
class FragmentRuns {
public:
    explicit FragmentRuns(int64_t fileSize);

    void readDefaults(BoxBytes movie); ///< From the body of the `moov` box, before the fragments.
    void readFragment(BoxBytes fragment, int64_t position); ///< The body of a `moof` box, and where it stands.

    /// The counts that are too large, with the largest ones that are possible in their place, ascending.
    [[nodiscard]] const std::vector<MovBoxes::Patch>& corrections() const { return m_corrections; }

private:
    void readTrack(BoxBytes boxes, int64_t position);
    void checkRun(BoxBytes run, int64_t position, uint32_t sampleSize);

    std::map<uint32_t, uint32_t> m_sampleSizes; ///< Bytes, by track; what a sample has whose size is not told.
    int64_t m_unclaimed; ///< Bytes of the file that samples without a size of their own have not claimed yet.
    std::vector<MovBoxes::Patch> m_corrections;
};

} // namespace kelmo
