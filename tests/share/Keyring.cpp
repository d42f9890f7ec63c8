#include "tests/share/Keyring.h"

#include "share/AccountStore.h"
#include "tests/platform/PrivateBus.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QStandardPaths>
#include <QTest>

#include <gtest/gtest.h>

#include <csignal>
#include <qt6keychain/keychain.h>

namespace kelmo {

namespace {

QString program() { return QStringLiteral("gnome-keyring-daemon"); }

bool finishes(QKeychain::Job* job)
{
    bool done = false;
    bool worked = false;
    job->setKey(QString::fromLatin1(AccountStore::item));
    QObject::connect(job, &QKeychain::Job::finished, job, [&done, &worked, job] {
        done = true;
        worked = job->error() == QKeychain::NoError;
    });
    job->start();
    return QTest::qWaitFor([&done] { return done; }, 20'000) && worked;
}

} // namespace

Keyring* Keyring::start()
{
    if (QStandardPaths::findExecutable(program()).isEmpty() || !PrivateBus::start())
        return nullptr;
    static Keyring keyring;
    const bool ready = QTest::qWaitFor([] { return keyring.answers(); }, 20'000);
    EXPECT_TRUE(ready);
    (void)keyring.remove();
    return ready ? &keyring : nullptr;
}

Keyring::Keyring()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"XDG_DATA_HOME", "XDG_RUNTIME_DIR", "HOME"})
        environment.insert(QString::fromLatin1(name), m_folder.path());
    m_daemon.setProcessEnvironment(environment);
    m_daemon.start(program(),
        {QStringLiteral("--foreground"), QStringLiteral("--unlock"), QStringLiteral("--components=secrets")});
    m_daemon.write("a password");
    m_daemon.closeWriteChannel();
}

bool Keyring::answers() const
{
    return QDBusConnection::sessionBus()
        .interface()
        ->isServiceRegistered(QStringLiteral("org.freedesktop.secrets"))
        .value();
}

Keyring::~Keyring()
{
    thaw();
    m_daemon.kill();
    m_daemon.waitForFinished();
}

bool Keyring::store(const QByteArray& account)
{
    auto* job = new QKeychain::WritePasswordJob(QString::fromLatin1(AccountStore::service));
    job->setTextData(QString::fromUtf8(account));
    return finishes(job);
}

bool Keyring::remove()
{
    return finishes(new QKeychain::DeletePasswordJob(QString::fromLatin1(AccountStore::service)));
}

bool Keyring::lock()
{
    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.secrets"),
        QStringLiteral("/org/freedesktop/secrets"), QStringLiteral("org.freedesktop.Secret.Service"),
        QStringLiteral("Lock"));
    call << QVariant::fromValue(
        QList<QDBusObjectPath>{QDBusObjectPath(QStringLiteral("/org/freedesktop/secrets/collection/login"))});
    return QDBusConnection::sessionBus().call(call).type() == QDBusMessage::ReplyMessage;
}

void Keyring::freeze() { ::kill(pid_t(m_daemon.processId()), SIGSTOP); }

void Keyring::thaw()
{
    if (m_daemon.processId() > 0)
        ::kill(pid_t(m_daemon.processId()), SIGCONT);
}

} // namespace kelmo
