#pragma once

#include <QString>

namespace kelmo {

/// How times are written. Pure functions for any thread.
namespace TimeText {

/// Minutes, seconds and tenths, "1:01.9"; what is less than a tenth is left off, and nothing is below 0.
[[nodiscard]] QString tenths(double ms);

} // namespace TimeText

} // namespace kelmo
