#pragma once

#include <QByteArrayView>
#include <QString>

namespace kelmo {

/// What a file is that begins with these bytes, as "a PDF document"; empty when it may be a movie that can be opened,
/// or when nothing tells. 300 bytes are enough. A pure function.
[[nodiscard]] QString kindOfFile(QByteArrayView head);

/// "MOV, MP4, … movies can be opened": the kinds that can.
[[nodiscard]] QString whatCanBeOpened();

} // namespace kelmo
