#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

namespace kelmo::JsonFile {

/// A file's text; nothing when it is missing, unreadable, no regular file or larger than 256 MiB. Callable from any
/// thread.
[[nodiscard]] std::optional<QByteArray> read(const QString& path);

/// The JSON object that a file holds; nothing when the file is missing, unreadable, larger than 256 MiB, not UTF-8, not
/// JSON, nested too deeply or not an object. Callable from any thread.
[[nodiscard]] std::optional<QJsonObject> readObject(const QString& path);

/// The same for a text that is already in memory.
[[nodiscard]] std::optional<QJsonObject> parseObject(const QByteArray& json);

} // namespace kelmo::JsonFile
