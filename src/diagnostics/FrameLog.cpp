#include "diagnostics/FrameLog.h"

#include <algorithm>

namespace kelmo {

void FrameLog::add(double ms)
{
    if (m_count++ == 0) {
        m_firstMs = ms;
    } else {
        const double gap = ms - m_lastMs;
        m_maxGapMs = std::max(m_maxGapMs, gap);
        if (gap > freezeMs)
            m_freezes.append(QStringLiteral("%1+%2").arg(qRound(m_lastMs)).arg(qRound(gap)));
    }
    m_lastMs = ms;
}

} // namespace kelmo
