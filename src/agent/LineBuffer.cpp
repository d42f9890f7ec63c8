#include "agent/LineBuffer.h"

namespace kelmo {

QByteArrayList LineBuffer::add(QByteArrayView bytes)
{
    QByteArrayList lines;
    qsizetype from = 0;
    for (qsizetype end = bytes.indexOf('\n'); end >= 0; end = bytes.indexOf('\n', from)) {
        keep(bytes.sliced(from, end - from));
        if (!m_tooLong)
            lines.append(m_line);
        clear();
        from = end + 1;
    }
    keep(bytes.sliced(from));
    return lines;
}

void LineBuffer::clear()
{
    m_line = QByteArray();
    m_tooLong = false;
}

void LineBuffer::keep(QByteArrayView bytes)
{
    m_tooLong = m_tooLong || m_line.size() + bytes.size() > m_longestLine;
    if (m_tooLong)
        m_line = QByteArray();
    else
        m_line.append(bytes);
}

} // namespace kelmo
