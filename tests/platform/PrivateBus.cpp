#include "tests/platform/PrivateBus.h"

#include <QStandardPaths>

#include <gtest/gtest.h>

#include <csignal>
#include <sys/prctl.h>

namespace kelmo {

PrivateBus* PrivateBus::start()
{
    if (QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty())
        return nullptr;
    static PrivateBus bus;
    return &bus;
}

PrivateBus::PrivateBus()
{
    // Ends with the tests even if those crash.
    m_daemon.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    m_daemon.start(QStringLiteral("dbus-daemon"),
        {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address")});
    while (!m_daemon.canReadLine() && m_daemon.waitForReadyRead(5000)) { }
    const QByteArray address = m_daemon.readLine().trimmed();
    EXPECT_FALSE(address.isEmpty());
    m_address = QString::fromLatin1(address);
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
}

PrivateBus::~PrivateBus()
{
    m_daemon.kill();
    m_daemon.waitForFinished();
}

void PrivateBus::offer(const QString& service, const QString& path, QObject* object)
{
    QDBusConnection connection = QDBusConnection::connectToBus(m_address, service);
    EXPECT_TRUE(connection.registerObject(path, object, QDBusConnection::ExportAllSlots));
    EXPECT_TRUE(connection.registerService(service));
}

void PrivateBus::withdraw(const QString& service) { QDBusConnection::disconnectFromBus(service); }

} // namespace kelmo
