#pragma once

// What a container's tables say about every sample, in ticks of the media's own clock. Internal to the opening of
// assets; any thread.

#include "media/stack/AvHandles.h"
#include "media/stack/MovBoxes.h"
#include "media/stack/SampleIndex.h"

#include <set>

namespace kelmo {

/// Ticks beyond this only come from damaged tables; sums of a few of them must not overflow.
constexpr int64_t mostTicks = INT64_MAX / 8;
[[nodiscard]] constexpr bool isSane(int64_t ticks) { return ticks >= -mostTicks && ticks <= mostTicks; }

struct StreamSamples {
    std::vector<Sample> samples; ///< In decoding order.
    int64_t lastDuration = 0; ///< As the demuxer has it.
};

/// Steps through the whole file and notes every sample of the wanted streams, one entry for each stream. None when
/// there are more than anybody can use.
[[nodiscard]] std::optional<std::vector<StreamSamples>> listSamples(
    AVFormatContext& input, const std::set<int>& wanted, int64_t fileSize);

/// The same from the demuxer's own index and the offsets in `boxes`, many times as fast. None where the file is not of
/// the plain kind, or where what the demuxer delivers first is not what was worked out; `input` has been read from
/// then.
[[nodiscard]] std::optional<std::vector<StreamSamples>> listSamplesByIndex(
    AVFormatContext& input, const std::set<int>& wanted, int64_t fileSize, const MovBoxes& boxes);

} // namespace kelmo
