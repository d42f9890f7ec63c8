#pragma once

#include <QString>
#include <QStringView>

namespace kelmo {

/// The program's one diagnostic log: standard output and "Library/Logs/KelmoEditor.log" in the home folder. Any thread
/// may log; the file is written in the order of the calls by a thread of the log's own, which empties its queue before
/// the process exits. Nothing here fails or throws: a line that can't be written is lost.
namespace Log {

/// Writes "<UTC time> [tag] message" as one line. The message is taken as it is, line feeds included.
void line(QStringView tag, QStringView message);
void line(QStringView tag, const QString& message);

/// A text from outside the program as a part of one line: control characters and others that cannot be seen become "?",
/// and what exceeds `maxLength` characters is cut.
[[nodiscard]] QString printable(QStringView text, qsizetype maxLength);

/// Waits until every line logged so far is in the file.
void flush();

} // namespace Log

} // namespace kelmo
