#pragma once

#include <QString>

namespace kelmo::InstallID {

/// The identifier kept in the file at `path`; a missing or blank file gets a new random one. When the file can't be
/// written the new identifier is good for this call only. Callable from any thread.
[[nodiscard]] QString loadOrCreate(const QString& path);

} // namespace kelmo::InstallID
