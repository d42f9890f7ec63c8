#pragma once

#include "media/stack/Asset.h"
#include "media/stack/MovBoxes.h"
#include "media/stack/SampleListing.h"

namespace kelmo {

/// A track as an Asset keeps it, from what libav says of its stream, the samples listed for it and, in a QuickTime or
/// MP4 file (`isMov`), the edit list among the boxes. Internal to the opening of assets; any thread.
[[nodiscard]] Track describedTrack(const AVStream& stream, StreamSamples listed, const MovBoxes& boxes, bool isMov);

} // namespace kelmo
