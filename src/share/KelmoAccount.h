#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace kelmo {

/// The account that the user signed into in the recorder, as the recorder keeps it. A plain value.
struct KelmoAccount {
    QString endpoint; ///< Base URL of the account's share server; never empty.
    QString token; ///< Never empty, and never to be shown.
    std::optional<QString> email; ///< For display.
    std::optional<QString> userId;

    bool operator==(const KelmoAccount&) const = default;

    /// Nothing when the text is no account, or one without endpoint or token.
    [[nodiscard]] static std::optional<KelmoAccount> fromJson(const QByteArray& json);
};

} // namespace kelmo
