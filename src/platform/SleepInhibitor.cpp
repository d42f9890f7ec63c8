#include "platform/SleepInhibitor.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>

#include <optional>

namespace kelmo {

namespace {

constexpr char applicationName[] = "KelmoEditor";

struct SessionService {
    const char* service;
    const char* path;
};

// Both have the same two calls. The second keeps the screen awake as well, so it is asked only without the first.
constexpr SessionService sessionServices[] = {
    {"org.freedesktop.PowerManagement.Inhibit", "/org/freedesktop/PowerManagement/Inhibit"},
    {"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver"},
};

QDBusMessage sessionCall(const SessionService& to, const char* method)
{
    return QDBusMessage::createMethodCall(QString::fromLatin1(to.service), QString::fromLatin1(to.path),
        QString::fromLatin1(to.service), QString::fromLatin1(method));
}

template <class Handler> void whenAnswered(const QDBusPendingCall& call, Handler handler)
{
    auto* watcher = new QDBusPendingCallWatcher(call);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [handler](QDBusPendingCallWatcher* done) {
        handler(*done);
        done->deleteLater();
    });
}

void release(const SessionService& from, uint cookie)
{
    QDBusMessage call = sessionCall(from, "UnInhibit");
    call << cookie;
    QDBusConnection::sessionBus().send(call);
}

} // namespace

// Outlives the inhibitor until the last answer is in, so that what is granted too late is given back at once.
struct SleepInhibitor::Hold {
    QString reason;
    bool wanted = true;
    QDBusUnixFileDescriptor login; ///< closing it ends the login service's inhibition
    const SessionService* session = nullptr;
    uint cookie = 0;

    static void askLogin(const std::shared_ptr<Hold>& hold)
    {
        QDBusConnection bus = QDBusConnection::systemBus();
        if (!bus.isConnected())
            return;
        QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.login1"),
            QStringLiteral("/org/freedesktop/login1"), QStringLiteral("org.freedesktop.login1.Manager"),
            QStringLiteral("Inhibit"));
        call << QStringLiteral("idle") << QString::fromLatin1(applicationName) << hold->reason
             << QStringLiteral("block");
        whenAnswered(bus.asyncCall(call), [hold](const QDBusPendingCall& answer) {
            const QDBusPendingReply<QDBusUnixFileDescriptor> reply = answer;
            if (!reply.isError() && hold->wanted)
                hold->login = reply.value();
        });
    }

    static void askSession(const std::shared_ptr<Hold>& hold, size_t index)
    {
        QDBusConnection bus = QDBusConnection::sessionBus();
        if (!bus.isConnected() || index >= std::size(sessionServices))
            return;
        const SessionService& service = sessionServices[index];
        QDBusMessage call = sessionCall(service, "Inhibit");
        call << QString::fromLatin1(applicationName) << hold->reason;
        whenAnswered(bus.asyncCall(call), [hold, index, &service](const QDBusPendingCall& answer) {
            const QDBusPendingReply<uint> reply = answer;
            if (!hold->wanted) {
                if (!reply.isError())
                    release(service, reply.value());
            } else if (reply.isError()) {
                askSession(hold, index + 1);
            } else {
                hold->session = &service;
                hold->cookie = reply.value();
            }
        });
    }
};

SleepInhibitor::SleepInhibitor(const QString& reason)
    : m_hold(std::make_shared<Hold>())
{
    m_hold->reason = reason;
    Hold::askLogin(m_hold);
    Hold::askSession(m_hold, 0);
}

SleepInhibitor::~SleepInhibitor()
{
    m_hold->wanted = false;
    m_hold->login = QDBusUnixFileDescriptor();
    if (m_hold->session)
        release(*m_hold->session, m_hold->cookie);
}

} // namespace kelmo
