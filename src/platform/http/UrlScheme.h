#pragma once

#include <QString>

namespace kelmo {

/// Which links the desktop can open. Any thread; reads the desktop's files.
namespace UrlScheme {

/// Whether a program is installed that opens links of this scheme. True where that cannot be seen from inside.
[[nodiscard]] bool hasHandler(const QString& scheme);

} // namespace UrlScheme

} // namespace kelmo
