#pragma once

#include "media/stack/container/Asset.h"
#include "media/stack/container/MovBoxes.h"
#include "media/stack/container/PacketScan.h"

namespace kelmo {

/// A track as an Asset keeps it, from what libav says of its stream, the samples listed for it and, in a QuickTime or
/// MP4 file, the edit list among the boxes. Without an edit list, what its clock calls `zero` shows at time zero.
/// Internal to the opening of assets; any thread.
[[nodiscard]] Track describedTrack(const AVStream& stream, StreamSamples listed, const MovBoxes& boxes, MediaTime zero);

} // namespace kelmo
