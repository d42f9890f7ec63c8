#pragma once

#include <QString>

namespace kelmo {

/// Shows a finished file to the user in the desktop's file manager. Main thread only.
namespace FileReveal {

/// Selects the file in the file manager, or opens its folder where no file manager can select. Returns at once;
/// a desktop that can do neither is left alone without a word.
void reveal(const QString& filePath);

} // namespace FileReveal

} // namespace kelmo
