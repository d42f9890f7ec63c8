#include "tests/media/PeakMemory.h"

#include <QFile>

#include <gtest/gtest.h>

namespace kelmo {

int64_t peakMemory()
{
    QFile status(QStringLiteral("/proc/self/status"));
    EXPECT_TRUE(status.open(QIODevice::ReadOnly));
    const QByteArray text = status.readAll();
    QFile reset(QStringLiteral("/proc/self/clear_refs"));
    EXPECT_TRUE(reset.open(QIODevice::WriteOnly) && reset.write("5") == 1);
    const qsizetype at = text.indexOf("VmHWM:") + 6;
    return text.mid(at, text.indexOf("kB", at) - at).trimmed().toLongLong() * 1024;
}

} // namespace kelmo
