#pragma once

#include "share/API.h"
#include "share/PartReader.h"

#include <QJsonArray>

namespace kelmo {

/// Brings the parts of one file to the share server, up to four at a time, with no more of them in memory. Owned by
/// the upload, which keeps it until `run` is done; main thread only, reading happens on a worker.
class PartUploads : public QObject {
    Q_OBJECT

public:
    PartUploads(API api, QString id, std::shared_ptr<PartReader> reader, const SharePace& pace);

    /// The server's replies in the order in which they came. The first part that fails for good ends the others and is
    /// the failure.
    [[nodiscard]] QCoro::Task<Result<QJsonArray>> run();

Q_SIGNALS:
    void sent(qint64 bytes); ///< So much of the file is there.

private:
    QCoro::Task<void> lane();
    void fail(const Error& error);

    const API m_api;
    const QString m_id;
    const std::shared_ptr<PartReader> m_reader;
    const SharePace m_pace;
    qint64 m_next = 1;
    qint64 m_sent = 0;
    QJsonArray m_replies;
    std::optional<Error> m_error;
};

} // namespace kelmo
