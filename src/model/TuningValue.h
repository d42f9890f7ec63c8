#pragma once

namespace kelmo::TuningValue {

/// The environment variable `name` as a plain decimal number (sign and fraction allowed, no blanks, no exponent), or
/// `fallback` when it is unset or anything else.
[[nodiscard]] double read(const char* name, double fallback);

} // namespace kelmo::TuningValue
