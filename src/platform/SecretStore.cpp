#include "platform/SecretStore.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QPromise>
#include <QTimer>

#include <qt6keychain/keychain.h>

namespace kelmo {

namespace {

using Attributes = QMap<QString, QString>;
using Paths = QList<QDBusObjectPath>;

/// The name under which the keychain library files its items.
constexpr char itemSchema[] = "org.qt.keychain";

QDBusMessage secretServiceSearch(const QString& service, const QString& account)
{
    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.secrets"),
        QStringLiteral("/org/freedesktop/secrets"), QStringLiteral("org.freedesktop.Secret.Service"),
        QStringLiteral("SearchItems"));
    const Attributes attributes{{QStringLiteral("user"), account}, {QStringLiteral("server"), service},
        {QStringLiteral("xdg:schema"), QString::fromLatin1(itemSchema)}};
    return call << QVariant::fromValue(attributes);
}

QDBusMessage walletCall(const QString& method)
{
    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.kde.kwalletd5"),
        QStringLiteral("/modules/kwalletd5"), QStringLiteral("org.kde.KWallet"), method);
    call.setAutoStartService(false);
    return call;
}

/// One look-up from the first question to its answer. Deletes itself; a question without an answer is left behind.
class Lookup : public QObject {
public:
    Lookup(QString service, QString account)
        : m_service(std::move(service))
        , m_account(std::move(account))
    {
        m_promise.start();
    }

    [[nodiscard]] QFuture<SecretStore::Answer> start(std::chrono::milliseconds patience)
    {
        QTimer::singleShot(patience, this, [this] { end(SecretStore::Status::TimedOut); });
        if (QDBusConnection::sessionBus().isConnected())
            askSecretService();
        else
            end(SecretStore::Status::Unavailable);
        return m_promise.future();
    }

private:
    template <class Reply, class Handler> void ask(const QDBusMessage& message, Handler handler)
    {
        auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(message), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [watcher, handler] {
            const Reply reply = *watcher;
            handler(reply);
        });
    }

    // Reading a locked item would unlock it, and so put a dialog in front of the user for every look at the account.
    void askSecretService()
    {
        qDBusRegisterMetaType<Attributes>();
        ask<QDBusPendingReply<Paths, Paths>>(secretServiceSearch(m_service, m_account), [this](const auto& reply) {
            if (!reply.isError() && !reply.template argumentAt<0>().isEmpty())
                readItem();
            else if (!reply.isError() && !reply.template argumentAt<1>().isEmpty())
                end(SecretStore::Status::Locked);
            else
                askWallet(reply.isError() ? SecretStore::Status::Unavailable : SecretStore::Status::NotFound);
        });
    }

    void askWallet(SecretStore::Status withoutWallet)
    {
        ask<QDBusPendingReply<QString>>(
            walletCall(QStringLiteral("networkWallet")), [this, withoutWallet](const auto& name) {
                if (name.isError()) {
                    end(withoutWallet);
                    return;
                }
                ask<QDBusPendingReply<bool>>(
                    walletCall(QStringLiteral("isOpen")) << name.value(), [this, withoutWallet](const auto& open) {
                        if (open.isError())
                            end(withoutWallet);
                        else if (open.value())
                            readItem();
                        else
                            end(SecretStore::Status::Locked);
                    });
            });
    }

    void readItem()
    {
        auto* job = new QKeychain::ReadPasswordJob(m_service);
        job->setKey(m_account);
        connect(job, &QKeychain::Job::finished, this, [this, job] {
            switch (job->error()) {
            case QKeychain::NoError:
                end(SecretStore::Status::Found, job->binaryData());
                break;
            case QKeychain::EntryNotFound:
                end(SecretStore::Status::NotFound);
                break;
            case QKeychain::AccessDenied:
            case QKeychain::AccessDeniedByUser:
                end(SecretStore::Status::Locked);
                break;
            default:
                end(SecretStore::Status::Unavailable);
            }
        });
        job->start();
    }

    void end(SecretStore::Status status, const QByteArray& secret = {})
    {
        if (std::exchange(m_ended, true))
            return;
        m_promise.addResult(SecretStore::Answer{status, secret});
        m_promise.finish();
        deleteLater();
    }

    const QString m_service;
    const QString m_account;
    QPromise<SecretStore::Answer> m_promise;
    bool m_ended = false;
};

} // namespace

QFuture<SecretStore::Answer> SecretStore::read(
    const QString& service, const QString& account, std::chrono::milliseconds patience)
{
    return (new Lookup(service, account))->start(patience);
}

} // namespace kelmo
