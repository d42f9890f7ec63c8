#pragma once

#include <QByteArray>
#include <QString>

namespace kelmo {

/// Files that hold a secret. Callable from any thread.
namespace PrivateFile {

/// Replaces the file whole by one that only its owner may read and write; at no moment do others see any of it. Its
/// folder is made when missing. False when that fails, and then the file is as it was.
bool write(const QString& path, const QByteArray& bytes);

} // namespace PrivateFile

} // namespace kelmo
