#pragma once

// Long movies made from short ones without encoding anything: hours in seconds. A plain function, any thread.

#include "platform/Error.h"

namespace kelmo {

/// Writes the packets of `source` into `target` over and over, once every `loopMs`, until `lengthMs`; a shorter length
/// cuts the movie. Every track of the source must last `loopMs` and start with a key frame; the end is cut cleanly
/// only in movies without B-frames.
[[nodiscard]] Result<void> repeatMovie(const QString& source, const QString& target, double loopMs, double lengthMs);

} // namespace kelmo
