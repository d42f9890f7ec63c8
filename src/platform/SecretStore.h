#pragma once

#include <QByteArray>
#include <QFuture>
#include <QString>

#include <chrono>

namespace kelmo {

/// The desktop's store of secrets (Secret Service or KWallet), for reading. It is asked only for what is open already:
/// a look-up never makes the desktop ask its user for a password. Main thread only.
namespace SecretStore {

enum class Status {
    Found,
    NotFound, ///< The store is open and has no such item.
    Locked, ///< There is such an item, or may be one, behind a lock.
    Unavailable, ///< No store runs here.
    TimedOut,
};

struct Answer {
    Status status = Status::Unavailable;
    QByteArray secret; ///< Empty unless found.
};

/// The secret kept under a service and an account name. The future always gets its answer, in time, on this thread.
[[nodiscard]] QFuture<Answer> read(
    const QString& service, const QString& account, std::chrono::milliseconds patience = std::chrono::seconds(2));

} // namespace SecretStore

} // namespace kelmo
