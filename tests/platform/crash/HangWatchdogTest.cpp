#include "platform/crash/HangWatchdog.h"

#include "platform/crash/CrashRecord.h"
#include "platform/crash/Symbolizer.h"
#include "tests/support/TemporaryHome.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

using namespace kelmo;
using namespace std::chrono_literals;

namespace {

class HangWatchdogTest : public testing::Test {
protected:
    HangWatchdogTest()
        : path(home.file(QStringLiteral("record")))
        , file(::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600))
    {
    }
    ~HangWatchdogTest() override { ::close(file); }

    CrashRecord record() const { return CrashRecord::parse(home.read(QStringLiteral("record"))); }

    template <class Done> static void runEventLoopUntil(Done done)
    {
        QElapsedTimer timer;
        timer.start();
        while (!done() && timer.elapsed() < 30'000)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }

    /// Blocks the main thread until the record says that it has been blocked for `ms`.
    [[gnu::noinline]] void blockUntilNoted(qint64 ms) const
    {
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < 30'000) {
            const CrashRecord now = record();
            if (!now.hangs.empty() && now.hangs.back().durationMs >= ms)
                return;
            std::this_thread::sleep_for(5ms);
        }
    }

    const TemporaryHome home;
    const QString path;
    const int file;
};

} // namespace

TEST_F(HangWatchdogTest, blockedEventLoopIsNotedWithItsStackAndItsDuration)
{
    const HangWatchdog watchdog(file, 300ms);
    QElapsedTimer blocked;
    // The loop goes round before, in between and after.
    for (const size_t hangs : {1U, 2U}) {
        QElapsedTimer idle;
        idle.start();
        runEventLoopUntil([&] { return idle.elapsed() > 200; });
        blocked.start();
        do
            blockUntilNoted(900);
        while (record().hangs.size() < hangs && blocked.elapsed() < 30'000);
        const qint64 blockedMs = blocked.elapsed();
        ASSERT_EQ(record().hangs.size(), hangs);
        EXPECT_LE(record().hangs.back().durationMs, blockedMs + 100);
    }
    const CrashRecord::Hang hang = record().hangs[0];
    EXPECT_GE(hang.durationMs, 900);
#if !defined(__SANITIZE_THREAD__) // Which holds signals back until the thread calls the system.
    Symbolizer symbolizer;
    QString names;
    for (const quint64 frame : hang.frames) {
        for (const CrashRecord::Module& module : hang.modules) {
            if (module.start < frame && frame <= module.end)
                names += symbolizer.function(module, frame - 1).value_or(QString()) + QLatin1Char('\n');
        }
    }
    EXPECT_TRUE(names.contains(QLatin1String("blockUntilNoted"))) << names.toStdString();
#endif
}

TEST_F(HangWatchdogTest, eventLoopThatComesRoundIsLeftAlone)
{
    const HangWatchdog watchdog(file, 5000ms);
    QElapsedTimer timer;
    timer.start();
    runEventLoopUntil([&] { return timer.elapsed() > 700; });
    std::this_thread::sleep_for(700ms);
    EXPECT_TRUE(home.read(QStringLiteral("record")).isEmpty());
}

TEST_F(HangWatchdogTest, endDuringAHangKeepsIt)
{
    {
        const HangWatchdog watchdog(file, 100ms);
        blockUntilNoted(200);
    }
    ASSERT_EQ(record().hangs.size(), 1U);
    EXPECT_GE(record().hangs[0].durationMs, 200);
}
