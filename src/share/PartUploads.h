#pragma once

#include "share/API.h"
#include "share/PartReader.h"

#include <QJsonArray>

namespace kelmo {

/// Brings the parts of one file to the share server, up to four at a time. Their bytes go from the file to the network
/// on the thread of its own HTTP client, so none of them waits for the main thread, nor the main thread for them. Owned
/// by the upload; main thread only.
class PartUploads : public QObject {
    Q_OBJECT

public:
    PartUploads(API api, QString id, qint64 partSize, const ShareTimeouts& pace);

    /// The server's replies in the order in which they came. The first part that fails for good ends the others and is
    /// the failure. To be called once, by a caller who keeps this object until it is over; fails after `abort`.
    [[nodiscard]] QCoro::Task<Result<QJsonArray>> run(QString path);

    void abort();

Q_SIGNALS:
    void sent(qint64 bytes); ///< So much of the file is there. Never after `run` is over.

private:
    [[nodiscard]] QCoro::Task<void> lane(PartReader reader);

    HttpClient m_client;
    const API m_api;
    const QString m_id;
    const qint64 m_partSize;
    const ShareTimeouts m_pace;
    qint64 m_next = 1;
    qint64 m_sent = 0;
    QJsonArray m_replies;
    std::optional<Error> m_error;
};

} // namespace kelmo
