#include "platform/ChildProcess.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <csignal>

namespace kelmo {

namespace {

constexpr char heldTest[] = "ChildProcess.DISABLED_holdsAChildUntilItIsKilled";

bool endsSoon(pid_t process)
{
    QElapsedTimer timer;
    timer.start();
    while (::kill(process, 0) == 0 && timer.elapsed() < 30'000)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return ::kill(process, 0) != 0;
}

} // namespace

// Runs in a process of its own that the test below kills.
TEST(ChildProcess, DISABLED_holdsAChildUntilItIsKilled)
{
    ChildProcess child;
    QObject::connect(&child, &QProcess::started, &child, [&child] {
        std::printf("child %lld\n", static_cast<long long>(child.processId()));
        std::fflush(stdout);
    });
    child.start(QStringLiteral("sleep"), {QStringLiteral("600")});
    QCoreApplication::exec();
}

TEST(ChildProcess, ownerKilledTakesTheChildAlong)
{
    QProcess owner;
    owner.start(QCoreApplication::applicationFilePath(),
        {QStringLiteral("--gtest_also_run_disabled_tests"),
            QStringLiteral("--gtest_filter=") + QString::fromLatin1(heldTest)});
    QByteArray printed;
    while (!printed.contains("child ") || !printed.endsWith('\n')) {
        ASSERT_TRUE(owner.waitForReadyRead(30'000)) << printed.constData();
        printed += owner.readAllStandardOutput();
    }
    const pid_t child = printed.mid(printed.indexOf("child ") + 6).trimmed().toInt();
    ASSERT_EQ(::kill(child, 0), 0);
    owner.kill();
    EXPECT_TRUE(owner.waitForFinished());
    EXPECT_TRUE(endsSoon(child));
}

} // namespace kelmo
