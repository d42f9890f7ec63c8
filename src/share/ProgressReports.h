#pragma once

#include "share/API.h"

#include <QPromise>
#include <QTimer>

namespace kelmo {

/// Tells a share's page how far the video is. One report is under way at a time, so that none overtakes another; of
/// those that wait, the newest replaces the others. What becomes of a report does not matter. Owned by the upload;
/// main thread only.
class ProgressReports : public QObject {
    Q_OBJECT

public:
    ProgressReports(API api, const QString& id);

    /// `status` is "preparing", "uploading" or "failed"; `fraction` is from 0 to 1.
    void send(const QString& status, double fraction);

    /// Waits until nothing is under way, or for `patience`; then gives up what still is. One caller at a time.
    QCoro::Task<void> settle(std::chrono::milliseconds patience);

private:
    QCoro::Task<void> deliver(QJsonObject report);
    void giveUp();

    const API m_api;
    const QString m_path;
    std::optional<QJsonObject> m_waiting;
    bool m_busy = false;
    std::optional<QPromise<void>> m_settled; ///< Of the wait until nothing is under way.
    QTimer m_patience;
};

} // namespace kelmo
