#include "app/SingleInstance.h"

#include "app/CommandLine.h"
#include "app/DesktopCalls.h"
#include "telemetry/Log.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QUrl>

namespace kelmo {

namespace {

/// Longer than a busy machine takes to answer, shorter than a person waits.
constexpr int patienceMs = 5000;

// Fixed by the bus's own protocol.
constexpr uint doNotQueue = 4;
constexpr uint becameOwner = 1;
constexpr uint isAlreadyOwner = 4;

QString serviceName(quint16 port)
{
    const QString name = QStringLiteral(KELMO_APP_ID);
    return port == CommandLine::defaultPort ? name : name % QStringLiteral(".Port") % QString::number(port);
}

QString objectPath()
{
    return QLatin1Char('/') + QStringLiteral(KELMO_APP_ID).replace(QLatin1Char('.'), QLatin1Char('/'));
}

} // namespace

SingleInstance::SingleInstance(quint16 port, IfRunning ifRunning)
    : m_service(serviceName(port))
    , m_path(objectPath())
    , m_ifRunning(ifRunning)
    , m_bus(QDBusConnection::sessionBus())
{
    new DesktopCalls(*this, [this](const std::optional<QString>& take) {
        if (m_isFirst)
            Q_EMIT reopened(take);
    });
    m_bus.registerObject(m_path, this);
}

void SingleInstance::claim(const std::optional<QString>& take)
{
    if (!m_bus.isConnected()) {
        becomeFirst();
        return;
    }
    QDBusMessage request = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
        QStringLiteral("/org/freedesktop/DBus"), QStringLiteral("org.freedesktop.DBus"), QStringLiteral("RequestName"));
    request << m_service << doNotQueue;
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(request, patienceMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, take] {
        watcher->deleteLater();
        const QDBusPendingReply<uint> reply = *watcher;
        const bool isOurs = reply.isError() || reply.value() == becameOwner || reply.value() == isAlreadyOwner;
        if (isOurs || m_ifRunning == IfRunning::RunBeside)
            becomeFirst();
        else
            handOver(take);
    });
}

void SingleInstance::becomeFirst()
{
    m_isFirst = true;
    Q_EMIT isFirst();
}

void SingleInstance::handOver(const std::optional<QString>& take)
{
    QDBusMessage call = QDBusMessage::createMethodCall(m_service, m_path, QStringLiteral("org.freedesktop.Application"),
        take ? QStringLiteral("Open") : QStringLiteral("Activate"));
    if (take)
        call << QStringList{QUrl::fromLocalFile(*take).toString()};
    call << DesktopCalls::platformData();
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call, patienceMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        if (!watcher->isError()) {
            Q_EMIT handedOver();
            return;
        }
        Log::line(u"error", QStringLiteral("the running editor does not answer: ") % watcher->error().message());
        becomeFirst();
    });
}

} // namespace kelmo
