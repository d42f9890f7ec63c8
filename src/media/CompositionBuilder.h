#pragma once

#include "media/Built.h"

namespace kelmo {

/// Makes editions of a loaded take: the kept ranges back to back, with a short ramp at every join. Pure functions that
/// touch no media; any thread.
namespace CompositionBuilder {

/// `keep` is ascending and without overlap, in ms of the source clock; each range becomes one piece.
[[nodiscard]] std::shared_ptr<const Built> build(
    std::shared_ptr<const LoadedTake> loaded, const std::vector<Span>& keep);

/// The volume ramps of the joins between pieces, on the edited clock.
[[nodiscard]] std::vector<VolumeRamp> joinRamps(const std::vector<Span>& keep);

} // namespace CompositionBuilder

} // namespace kelmo
