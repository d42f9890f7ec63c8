#pragma once

#include <cstdint>

namespace kelmo {

/// The most memory of this process that was resident since the last call, in bytes.
[[nodiscard]] int64_t peakMemory();

} // namespace kelmo
