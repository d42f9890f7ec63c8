#include "views/style/TimeText.h"

#include <algorithm>
#include <cmath>

namespace kelmo {

QString TimeText::tenths(double ms)
{
    const qint64 tenths = qint64(std::floor(std::max(0.0, ms) / 100));
    return QStringLiteral("%1:%2.%3").arg(tenths / 600).arg(tenths / 10 % 60, 2, 10, QLatin1Char('0')).arg(tenths % 10);
}

} // namespace kelmo
