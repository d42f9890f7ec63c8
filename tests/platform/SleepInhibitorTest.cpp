#include "platform/SleepInhibitor.h"

#include "tests/platform/PrivateBus.h"

#include <QCoreApplication>
#include <QDBusUnixFileDescriptor>
#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

using namespace kelmo;

namespace {

template <class Condition> bool eventually(Condition condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < 5000)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 20);
    return condition();
}

void passTime(int ms)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
}

} // namespace

/// Grants inhibitions as a desktop session does and remembers which are still held.
class FakePowerManagement : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.PowerManagement.Inhibit")

public:
    QStringList reasons;
    QList<uint> held;

public Q_SLOTS:
    uint Inhibit(const QString&, const QString& reason)
    {
        reasons.append(reason);
        held.append(static_cast<uint>(reasons.size()) + 40);
        return held.last();
    }
    void UnInhibit(uint cookie) { held.removeAll(cookie); }
};

class FakeScreenSaver : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.ScreenSaver")

public:
    QList<uint> held;

public Q_SLOTS:
    uint Inhibit(const QString&, const QString&)
    {
        held.append(7);
        return 7;
    }
    void UnInhibit(uint cookie) { held.removeAll(cookie); }
};

/// Hands out one end of a pipe, as the login service does; the other end tells whether it is still held.
class FakeLogin : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

public:
    QStringList asked;
    int watched = -1;

    [[nodiscard]] bool isHeld() const
    {
        char byte;
        return ::read(watched, &byte, 1) != 0;
    }

public Q_SLOTS:
    QDBusUnixFileDescriptor Inhibit(const QString& what, const QString&, const QString& reason, const QString& mode)
    {
        asked = {what, reason, mode};
        int ends[2];
        EXPECT_EQ(::pipe2(ends, O_NONBLOCK | O_CLOEXEC), 0);
        watched = ends[0];
        QDBusUnixFileDescriptor given(ends[1]);
        ::close(ends[1]);
        return given;
    }
};

namespace {

const QString powerService = QStringLiteral("org.freedesktop.PowerManagement.Inhibit");
const QString powerPath = QStringLiteral("/org/freedesktop/PowerManagement/Inhibit");
const QString screenService = QStringLiteral("org.freedesktop.ScreenSaver");
const QString screenPath = QStringLiteral("/org/freedesktop/ScreenSaver");
const QString loginService = QStringLiteral("org.freedesktop.login1");
const QString loginPath = QStringLiteral("/org/freedesktop/login1");

} // namespace

TEST(SleepInhibitor, liveInhibitorHoldsTheSessionAndTheLoginService)
{
    PrivateBus* bus = PrivateBus::start();
    if (!bus)
        GTEST_SKIP() << "no message bus daemon here";
    FakePowerManagement power;
    FakeScreenSaver screen;
    FakeLogin login;
    bus->offer(powerService, powerPath, &power);
    bus->offer(screenService, screenPath, &screen);
    bus->offer(loginService, loginPath, &login);
    {
        const SleepInhibitor inhibitor(QStringLiteral("Exporting Demo"));
        EXPECT_TRUE(eventually([&] { return power.held.size() == 1 && login.watched >= 0; }));
        passTime(100);
        EXPECT_EQ(power.reasons, QStringList{QStringLiteral("Exporting Demo")});
        EXPECT_EQ(login.asked,
            (QStringList{QStringLiteral("idle"), QStringLiteral("Exporting Demo"), QStringLiteral("block")}));
        EXPECT_TRUE(login.isHeld());
        EXPECT_TRUE(screen.held.isEmpty());
    }
    EXPECT_TRUE(eventually([&] { return power.held.isEmpty() && !login.isHeld(); }));
    for (const QString& service : {powerService, screenService, loginService})
        bus->withdraw(service);
}

TEST(SleepInhibitor, goneBeforeTheAnswerGivesTheInhibitionBack)
{
    PrivateBus* bus = PrivateBus::start();
    if (!bus)
        GTEST_SKIP() << "no message bus daemon here";
    FakePowerManagement power;
    FakeLogin login;
    bus->offer(powerService, powerPath, &power);
    bus->offer(loginService, loginPath, &login);
    {
        const SleepInhibitor inhibitor(QStringLiteral("short"));
    }
    EXPECT_TRUE(eventually([&] { return power.reasons.size() == 1 && power.held.isEmpty(); }));
    EXPECT_TRUE(eventually([&] { return login.watched >= 0 && !login.isHeld(); }));
    bus->withdraw(powerService);
    bus->withdraw(loginService);
}

TEST(SleepInhibitor, withoutPowerManagementTheScreenSaverIsAsked)
{
    PrivateBus* bus = PrivateBus::start();
    if (!bus)
        GTEST_SKIP() << "no message bus daemon here";
    FakeScreenSaver screen;
    bus->offer(screenService, screenPath, &screen);
    {
        const SleepInhibitor inhibitor(QStringLiteral("x"));
        EXPECT_TRUE(eventually([&] { return screen.held.size() == 1; }));
        passTime(100);
    }
    EXPECT_TRUE(eventually([&] { return screen.held.isEmpty(); }));
    bus->withdraw(screenService);
}

#include "SleepInhibitorTest.moc"
