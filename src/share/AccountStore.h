#pragma once

#include "platform/SecretStore.h"
#include "share/KelmoAccount.h"

namespace kelmo {

/// The account as the recorder left it in the user's secret store, read there when needed and remembered until told to
/// look again. Never writes. Owned by the Sharer; main thread only.
class AccountStore {
public:
    struct Lookup {
        std::optional<KelmoAccount> account;
        SecretStore::Status status = SecretStore::Status::NotFound;
    };

    /// Where recorder and editor meet.
    static constexpr char service[] = "org.kelmo.account.v2";
    static constexpr char item[] = "device";

    /// Looks in the store, for at most 2 s. An item that is no valid account counts as none.
    [[nodiscard]] static QFuture<Lookup> read();

    /// What was found last, or, after `forget`, what a new look finds; callers during a look share it. With
    /// KELMO_NO_KEYCHAIN set there is no account and no look.
    [[nodiscard]] QFuture<Lookup> current();

    void forget();

private:
    std::optional<QFuture<Lookup>> m_cached;
};

} // namespace kelmo
