#pragma once

namespace kelmo {

/// A clock that never jumps, for measuring how long something took. Callable from any thread.
namespace MonotonicClock {

/// Milliseconds since an arbitrary but fixed moment, with sub-millisecond resolution.
[[nodiscard]] double nowMs();

} // namespace MonotonicClock

} // namespace kelmo
