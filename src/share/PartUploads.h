#pragma once

#include "share/API.h"

#include <QJsonArray>
#include <QThreadPool>

#include <mutex>

namespace kelmo {

/// Brings the parts of one file to the share server, up to four at a time, with no more of them in memory. They are
/// sent by two threads of its own with two lanes each: Qt hands a body over in pieces of 16 KiB, tens of thousands for
/// one video, and none of them may wait for the main thread, nor it for them. Owned by the upload; main thread only.
/// Aborting or destroying it waits for the threads, which end at once.
class PartUploads : public QObject {
    Q_OBJECT

public:
    PartUploads(API api, QString id, qint64 partSize, const SharePace& pace);
    ~PartUploads() override;

    /// The server's replies in the order in which they came. The first part that fails for good ends the others and is
    /// the failure. To be called once; fails after `abort`.
    [[nodiscard]] QCoro::Task<Result<QJsonArray>> run(QString path);

    void abort();

Q_SIGNALS:
    void sent(qint64 bytes); ///< So much of the file is there. Never after `run` is over.
    void failed();

private:
    void send(); ///< Work of one thread.
    [[nodiscard]] QCoro::Task<void> lane(API api);
    [[nodiscard]] std::optional<qint64> next();
    void keep(const QJsonObject& reply, qint64 bytes);
    void fail(const Error& error);

    const API m_api;
    const QString m_id;
    const qint64 m_partSize;
    const SharePace m_pace;
    QString m_path;
    qint64 m_count = 0;
    std::mutex m_mutex; ///< Of the rest, which the threads share.
    qint64 m_next = 1;
    qint64 m_sent = 0;
    QJsonArray m_replies;
    std::optional<Error> m_error;
    QThreadPool m_threads;
};

} // namespace kelmo
