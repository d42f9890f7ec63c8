#pragma once

#include "media/Built.h"

#include <QByteArray>

#include <functional>

namespace kelmo {

/// Looks at single moments of an edit, exactly as they would be exported. Blocks for as long as decoding takes; call
/// it on a worker. Several may run at once.
namespace FrameGrab {

/// Asked while decoding: true gives up, and the grab fails.
using Stop = std::function<bool()>;

/// The picture of the edit at a moment of the edited clock, scaled down to fit a square of `maxWidth` pixels, as a PNG
/// file. Moments beyond the ends give the first or the last picture.
[[nodiscard]] Result<QByteArray> png(const Built& built, double editedMs, double maxWidth, const Stop& stop = {});

/// The composed picture itself, at full size.
[[nodiscard]] Result<VideoFrame> picture(const Built& built, double editedMs, const Stop& stop = {});

} // namespace FrameGrab

} // namespace kelmo
