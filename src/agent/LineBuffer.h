#pragma once

#include <QByteArray>
#include <QByteArrayList>

namespace kelmo {

/// Cuts a stream of bytes that arrives in chunks of any size into its lines. What it holds is bounded: a line that
/// grows longer than the limit is left out as a whole. A plain value.
class LineBuffer {
public:
    explicit LineBuffer(qsizetype longestLine)
        : m_longestLine(longestLine)
    {
    }

    /// The lines that end within these bytes, without their line feeds. What follows the last line feed waits.
    [[nodiscard]] QByteArrayList add(QByteArrayView bytes);
    void clear();

    [[nodiscard]] qsizetype waiting() const { return m_line.size(); } ///< Bytes held that no line feed has ended.

private:
    void keep(QByteArrayView bytes);

    qsizetype m_longestLine; ///< Bytes, without the line feed.
    QByteArray m_line;
    bool m_tooLong = false; ///< The line that is arriving has passed the limit; its rest is skipped.
};

} // namespace kelmo
