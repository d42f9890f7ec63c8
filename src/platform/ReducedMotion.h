#pragma once

namespace kelmo {

/// Whether the desktop's user asked for less motion. Main thread only.
namespace ReducedMotion {

/// Asks the desktop, whose answer comes later; until then, and where there is none, motion is as usual.
void ask();

[[nodiscard]] bool asked();

} // namespace ReducedMotion

} // namespace kelmo
