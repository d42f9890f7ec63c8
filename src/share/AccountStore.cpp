#include "share/AccountStore.h"

namespace kelmo {

QFuture<AccountStore::Lookup> AccountStore::read()
{
    return SecretStore::read(QString::fromLatin1(service), QString::fromLatin1(item))
        .then([](const SecretStore::Answer& answer) {
            return Lookup{KelmoAccount::fromJson(answer.secret), answer.status};
        });
}

QFuture<AccountStore::Lookup> AccountStore::current()
{
    if (qEnvironmentVariableIsSet("KELMO_NO_KEYCHAIN"))
        return QtFuture::makeReadyFuture(Lookup{});
    if (!m_cached)
        m_cached = read();
    return *m_cached;
}

void AccountStore::forget()
{
    if (m_cached && m_cached->isFinished())
        m_cached.reset();
}

} // namespace kelmo
