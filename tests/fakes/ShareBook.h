#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <map>
#include <mutex>
#include <optional>

namespace kelmo {

/// What a share server knows: its shares, on disk, and the rules by which they are filled. Whatever breaks a rule is
/// refused and remembered. Owned by the ShareServer; any thread.
class ShareBook {
public:
    struct Reply {
        int status = 200;
        QByteArray body = "{}";
    };

    struct Share {
        QString title;
        double durationMs = 0;
        QString status = QStringLiteral("preparing"); ///< "ready" once it plays.
        double progress = 0;
        int version = 1;
        bool open = true; ///< Takes parts; false after their completion.
        bool plays = false;
        bool lost = false; ///< Behaves as another account's.
        QList<QJsonObject> reports; ///< The progress reports, in order.
        std::map<qint64, QJsonObject> parts; ///< Of the open version: what each was answered.
        std::map<qint64, qint64> sizes;
    };

    /// `partSize` 0 leaves the size of parts to the client's own rule.
    ShareBook(QString folder, QString publicUrl, qint64 partSize);

    Reply create(const QByteArray& contentType, const QByteArray& body);
    Reply update(const QString& id, const QByteArray& contentType, const QByteArray& body);
    Reply report(const QString& id, const QByteArray& contentType, const QByteArray& body);
    Reply keepPoster(const QString& id, const QByteArray& contentType, const QByteArray& body);
    Reply complete(const QString& id, const QByteArray& contentType, const QByteArray& body);
    /// A part whose bytes are in the file `partPath` now.
    Reply keepPart(const QString& id, qint64 n, qint64 size, const QByteArray& contentType, const QString& partPath);

    [[nodiscard]] QString temporaryPart();
    [[nodiscard]] QString videoPath(const QString& id) const;
    [[nodiscard]] QString posterPath(const QString& id) const;

    [[nodiscard]] std::optional<Share> share(const QString& id) const;
    [[nodiscard]] int count() const;
    [[nodiscard]] QStringList violations() const;
    /// From now on the share answers as one that this token may not touch.
    void lose(const QString& id);
    Reply refuse(int status, const QString& why);

private:
    [[nodiscard]] Share* find(const QString& id);
    [[nodiscard]] bool describes(const QByteArray& contentType, const QByteArray& body, Share& share);
    [[nodiscard]] QString partPath(const QString& id, qint64 n) const;
    [[nodiscard]] bool join(const QString& id, const Share& share) const;

    const QString m_folder;
    const QString m_publicUrl;
    const qint64 m_partSize;
    mutable std::recursive_mutex m_mutex;
    std::map<QString, Share> m_shares;
    QStringList m_violations;
    int m_serial = 0;
};

} // namespace kelmo
