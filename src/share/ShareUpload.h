#pragma once

#include "editor/Editor.h"
#include "share/PartUploads.h"
#include "share/ProgressReports.h"

#include <QTimer>

namespace kelmo {

/// Fills one link: exports the edit, sends a poster and then the video in parts, and tells the link's page and the user
/// how far it is. Shared by the coroutine that runs it and the Sharer, which can abort it; main thread only.
class ShareUpload : public QObject {
    Q_OBJECT

public:
    struct Order {
        QString id;
        API api; ///< Its client is replaced by the upload's own.
        qint64 partSize = API::usualPartSize;
        std::optional<int> height; ///< Of the exported video, in lines; none = native.
        double startedMs = 0; ///< When the user asked, on the monotonic clock.
    };

    /// Exports what the editor holds when `run` is called.
    ShareUpload(Editor& editor, Order order, const ShareTimeouts& pace);

    /// Succeeds when the link plays. To be called once; the caller shares this object until it is done.
    [[nodiscard]] QCoro::Task<Result<void>> run();

    /// Tells the page that nothing will come.
    [[nodiscard]] QCoro::Task<void> reportFailure();

    void abort();

Q_SIGNALS:
    void moved(const QString& phase, double progress); ///< `progress` is from 0 to 1, over all.

private:
    [[nodiscard]] QCoro::Task<Result<ExportResult>> exportEdit();
    [[nodiscard]] QCoro::Task<void> sendPoster(std::shared_ptr<const Built> edit);
    [[nodiscard]] QCoro::Task<Result<void>> sendVideo(QString path);
    void followExport();
    void followParts(qint64 sent);
    void announce(double exportedMs);

    const QPointer<Editor> m_editor;
    const ShareTimeouts m_pace;
    HttpClient m_client; ///< For everything but the parts, which have their own,
    HttpClient m_reportClient; ///< and the reports, which are given up when they take too long.
    const Order m_order;
    PartUploads m_parts;
    ProgressReports m_reports;
    QTimer m_exportTicks;
    double m_reportedMs = 0;
    qint64 m_bytes = 0;
};

} // namespace kelmo
