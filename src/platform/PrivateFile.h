#pragma once

#include <QByteArray>
#include <QString>

namespace kelmo {

/// Files that hold a secret, or that lie where others may put links. Callable from any thread.
namespace PrivateFile {

/// Replaces the file whole by one that only its owner may read and write; at no moment do others see any of it. A link
/// of that name is replaced, not followed. False if that fails, and then the file is as it was.
[[nodiscard]] bool write(const QString& path, const QByteArray& bytes);

} // namespace PrivateFile

} // namespace kelmo
