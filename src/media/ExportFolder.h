#pragma once

#include "media/Codec.h"

#include <QString>

namespace kelmo {

/// The folder that every export is written into, and the names of the files there. Functions without state; callable
/// from any thread.
namespace ExportFolder {

[[nodiscard]] QString path();

/// The path in `folder` for an export that begins now: the take's base name, codec and time, and a number if a file or
/// a running export has that name. A base name that is too long for the file system is shortened between characters.
[[nodiscard]] QString freePath(const QString& folder, const QString& base, Codec codec);

/// Removes what exports that were killed have left in the folder.
void removeLeftBehind();

} // namespace ExportFolder

} // namespace kelmo
