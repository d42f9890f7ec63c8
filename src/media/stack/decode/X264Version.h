#pragma once

#include "media/stack/container/PacketReader.h"

namespace kelmo {

/// Tells an H.264 decoder that is not open yet which version of x264 coded the stream, which only the first sample
/// says. Old versions have faults (before 151 in 4:4:4) that a decoder must repeat, wherever in the stream it starts.
/// Does nothing for other streams. Internal to the media stack; any one thread.
void tellX264Version(AVCodecContext& decoder, PacketReader& reader);

} // namespace kelmo
