#include "views/style/ClockText.h"

namespace kelmo {

namespace {

constexpr double minRemovedMs = 50;
constexpr double minuteMs = 60'000;

} // namespace

QString clock(double ms)
{
    const qint64 seconds = std::max<qint64>(0, qint64(std::floor(ms / 1000)));
    return QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

Summary Summary::of(double sourceMs, double editedMs)
{
    const double removed = sourceMs - editedMs;
    if (removed <= minRemovedMs)
        return {clock(sourceMs), {}};
    const QString amount
        = removed < minuteMs ? QString::number(removed / 1000, 'f', 1) % QStringLiteral(" s") : clock(removed);
    return {clock(editedMs), QStringLiteral("−") % amount};
}

QString Summary::text() const { return removed.isEmpty() ? length : QString(length % QStringLiteral("  ") % removed); }

} // namespace kelmo
