#pragma once

#include "media/stack/container/SampleIndex.h"
#include "media/stack/core/AvHandles.h"

namespace kelmo {

class MaskedFileIO;

/// Corrects the size and the pixel shape in `stream.codecpar`, for a track of a QuickTime or MP4 file, where libav
/// leaves them to the decoder (0 by 0) or the container's size is odd, which may be a pixel more than is coded. Then
/// the first frame is decoded and has the last word. Sizes that still are 0 can't be told. Internal to the opening of
/// assets; any one thread.
void settleFrameSize(AVStream& stream, const std::vector<Sample>& samples, MaskedFileIO& io);

} // namespace kelmo
