#include "views/window/RemainingTime.h"

#include "views/style/ClockText.h"

namespace kelmo {

namespace {

/// What it takes for the pace so far to say something about the rest.
constexpr double minElapsedMs = 1000;
constexpr double minDone = 0.01;
constexpr double minuteMs = 60'000;

} // namespace

void RemainingTime::note(double progress, double nowMs)
{
    if (!m_startedMs || progress < m_progress) {
        m_startedMs = nowMs;
        m_startedAt = progress;
    }
    m_progress = progress;
    m_nowMs = nowMs;
}

QString RemainingTime::text() const
{
    const double elapsed = m_startedMs ? m_nowMs - *m_startedMs : 0;
    const double done = m_progress - m_startedAt;
    if (elapsed < minElapsedMs || done < minDone)
        return {};
    const double left = elapsed * (1 - m_progress) / done;
    const QString amount
        = left < minuteMs ? QString::number(int(std::ceil(left / 1000))) % QStringLiteral(" s") : clock(left);
    return amount % QStringLiteral(" left");
}

} // namespace kelmo
