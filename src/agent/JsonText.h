#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QStringView>

namespace kelmo {

/// JSON written piece by piece, byte for byte as QJsonDocument would write it, for documents that are too long to be
/// built up in memory first. Pure functions for any thread.
namespace JsonText {

/// A whole object, compact, its keys sorted.
[[nodiscard]] QByteArray object(const QJsonObject& object);

/// A string with its quotes.
[[nodiscard]] QByteArray string(const QString& text);
void appendString(QByteArray& json, const QString& text);

/// A number, in as few digits as give the same number when read back; "null" when it is not finite.
void appendNumber(QByteArray& json, double value);

/// JSON text as a JSON string with its quotes. Requires: `text` is compact JSON, so it holds no control characters.
[[nodiscard]] QByteArray quoted(const QByteArray& text);

/// Whether strings and numbers are written as the standard wants; the library reads control characters, escapes like
/// "\q" and numbers like ".5", too. Requires: the library has read `json`.
[[nodiscard]] bool isStrict(QByteArrayView json);

/// The last number under `key` at the top level of an object, digit for digit as it stands there; empty when there is
/// none. Requires: `json` is a valid JSON object.
[[nodiscard]] QByteArray numberAt(const QByteArray& json, QByteArrayView key);

} // namespace JsonText

} // namespace kelmo
