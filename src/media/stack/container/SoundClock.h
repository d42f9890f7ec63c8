#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace kelmo {

/// Where the sound of each packet belongs, in samples, when packets say both when they sound (`clock`) and how long
/// they are (`lengths`, both in samples and of the same number). Packets follow each other without a break as long as
/// their clock agrees with their lengths in the long run: some muxers count a change of block size too early, round
/// to milliseconds or write when a packet arrived. A hole, or an overlap, is where the clock changes for good.
/// Empty if the lengths don't fit the clock at all, which is then to be followed as it is. A pure function.
[[nodiscard]] std::vector<int64_t> soundPositions(
    std::span<const int64_t> clock, std::span<const int> lengths, int sampleRate);

} // namespace kelmo
