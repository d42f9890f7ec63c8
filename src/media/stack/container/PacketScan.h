#pragma once

// What a container's tables say about every sample, in ticks of the media's own clock. Internal to the opening of
// assets; any thread.

#include "media/stack/container/MovBoxes.h"
#include "media/stack/container/SampleIndex.h"
#include "media/stack/core/AvHandles.h"

#include <set>

namespace kelmo {

/// Ticks beyond this only come from damaged tables; sums of a few of them must not overflow.
constexpr int64_t maxTicks = INT64_MAX / 8;
[[nodiscard]] constexpr bool isSane(int64_t ticks) { return ticks >= -maxTicks && ticks <= maxTicks; }

constexpr uint32_t maxSamples = 200'000'000; ///< More than a week of the densest sound.

struct StreamSamples {
    std::vector<Sample> samples; ///< In decoding order.
    int64_t lastDuration = 0; ///< How long the last one lasts; not positive when it is not known.
    bool isComplete = false; ///< Everything that the tables list is in the file.
    std::vector<int> lengths; ///< Samples of sound in each; empty when unknown, or when the times are exact anyway.

    /// When the first of them shows or sounds, in ticks; nullopt if all are empty.
    [[nodiscard]] std::optional<int64_t> start() const;

    /// The last sample lasts for what the others leave of the media's whole length, which is exact where what is said
    /// of single samples may be an average. An absurd rest changes nothing. Lengths in ticks.
    void settleLastDuration(int64_t wholeLength, int64_t ticksPerSecond);
};

/// Steps through the whole file and notes every sample of the wanted streams, one entry for each stream, and, unless
/// the input leaves parsing out, how much sound each holds. None when there are more than anybody can use.
[[nodiscard]] std::optional<std::vector<StreamSamples>> scanPackets(
    AVFormatContext& input, const std::set<int>& wanted, int64_t fileSize);

/// The same for one track, from its own tables: a few milliseconds for an hour. `soundFrameSize` is how many bytes a
/// moment of uncompressed sound takes, 0 for compressed sound, none for pictures. None where the tables are of a rare
/// kind or don't agree with each other.
[[nodiscard]] std::optional<StreamSamples> readSampleTable(
    const MovBoxes::TrackBoxes& track, int64_t fileSize, std::optional<int> soundFrameSize);

} // namespace kelmo
