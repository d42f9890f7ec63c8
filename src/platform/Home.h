#pragma once

#include <QString>

namespace kelmo {

/// The one answer to "where is the user's home folder", so that everything the program reads or writes there moves
/// together when a test or a user sets HOME. Callable from any thread; read again on each call.
namespace Home {

/// `$HOME` when it is an absolute path, else the account's home folder. Without a trailing slash.
[[nodiscard]] QString path();

/// The absolute path of a file or folder given relative to the home folder. Nothing is created.
[[nodiscard]] QString file(const QString& relativePath);

/// `path` with a leading "~" or "~/" replaced by the home folder; any other path comes back as it is.
[[nodiscard]] QString expandTilde(const QString& path);

} // namespace Home

} // namespace kelmo
