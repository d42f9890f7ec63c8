#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QString>

namespace kelmo {

/// A message bus of the tests' own, which the program under test takes for the session's and the system's. Started on
/// first use and shared by all tests of the process, because the toolkit keeps its connections for good.
class PrivateBus {
public:
    /// Nothing when this machine has no message bus daemon.
    [[nodiscard]] static PrivateBus* start();
    ~PrivateBus();

    /// Offers `object` under `service` and `path` from a connection of its own until `withdraw`.
    void offer(const QString& service, const QString& path, QObject* object);
    void withdraw(const QString& service);

private:
    PrivateBus();

    QProcess m_daemon;
    QString m_address;
};

} // namespace kelmo
