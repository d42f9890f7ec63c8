#include "share/ShareUpload.h"

#include "media/FrameGrab.h"
#include "platform/MonotonicClock.h"
#include "telemetry/Analytics.h"
#include "telemetry/Log.h"

#include <QBuffer>
#include <QCoroFuture>
#include <QFileInfo>
#include <QImage>
#include <QtConcurrent>

namespace kelmo {

namespace {

constexpr double exportShare = 0.6;
constexpr double posterWidth = 1280;
constexpr double posterMs = 1500;
constexpr int posterQuality = 82;
constexpr int videoFps = 30;

QString percent(double fraction) { return QString::number(qint64(fraction * 100)) % QStringLiteral("%"); }

QString ms(double value) { return QString::number(value, 'f', 0) % QStringLiteral(" ms"); }

API through(API api, HttpClient& client)
{
    api.client = &client;
    return api;
}

/// Empty when there is no picture to be had.
QByteArray posterOf(const Built& edit)
{
    const double atMs = std::min(edit.timeline.durationMs / 3, posterMs);
    const Result<QByteArray> png = FrameGrab::png(edit, atMs, posterWidth);
    QBuffer jpeg;
    if (!png || !jpeg.open(QIODevice::WriteOnly) || !QImage::fromData(*png, "PNG").save(&jpeg, "JPEG", posterQuality))
        return {};
    return jpeg.data();
}

} // namespace

ShareUpload::ShareUpload(Editor& editor, Order order, const ShareTimeouts& pace)
    : m_editor(&editor)
    , m_pace(pace)
    , m_client(pace.requestTimeout)
    , m_reportClient(pace.requestTimeout)
    , m_order(std::move(order))
    , m_parts(m_order.api, m_order.id, m_order.partSize, pace)
    , m_reports(through(m_order.api, m_reportClient), m_order.id)
{
    m_exportTicks.setInterval(pace.exportTick);
    connect(&m_exportTicks, &QTimer::timeout, this, &ShareUpload::followExport);
    connect(&m_parts, &PartUploads::sent, this, &ShareUpload::followParts);
}

void ShareUpload::abort()
{
    m_client.abort();
    m_parts.abort();
    m_reportClient.abort();
}

QCoro::Task<Result<void>> ShareUpload::run()
{
    if (!m_editor)
        co_return shareCancelled();
    const std::shared_ptr<const Built> edit = m_editor->edit();
    QCoro::Task<Result<ExportResult>> exporting = exportEdit();
    const Result<ExportResult> exported = co_await exporting;
    if (!exported)
        co_return tl::unexpected(exported.error());
    const double exportedMs = MonotonicClock::nowMs() - m_order.startedMs;
    QCoro::Task<void> posting = sendPoster(edit);
    co_await posting;
    QCoro::Task<Result<void>> sending = sendVideo(exported->path);
    const Result<void> sent = co_await sending;
    if (sent)
        announce(exportedMs);
    co_return sent;
}

QCoro::Task<Result<ExportResult>> ShareUpload::exportEdit()
{
    m_exportTicks.start();
    QCoro::Task<Result<ExportResult>> exporting
        = m_editor->exportVideo(Codec::H264, m_order.height.value_or(0), videoFps, QStringLiteral("writer"));
    Result<ExportResult> exported = co_await exporting;
    m_exportTicks.stop();
    co_return exported;
}

void ShareUpload::followExport()
{
    const std::optional<double> done = m_editor ? m_editor->exportProgress() : std::nullopt;
    if (!done)
        return;
    Q_EMIT moved(QStringLiteral("Preparing ") % percent(*done), exportShare * *done);
    const double now = MonotonicClock::nowMs();
    if (now - m_reportedMs > double(m_pace.exportReports.count())) {
        m_reportedMs = now;
        m_reports.send(QStringLiteral("preparing"), *done);
    }
}

QCoro::Task<void> ShareUpload::sendPoster(std::shared_ptr<const Built> edit)
{
    const QFuture<QByteArray> making = QtConcurrent::run([edit] { return posterOf(*edit); });
    const QByteArray jpeg = co_await making;
    if (jpeg.isEmpty())
        co_return;
    QCoro::Task<Result<QJsonObject>> sending
        = through(m_order.api, m_client)
              .put(API::sharePath(m_order.id, QStringLiteral("poster")), "image/jpeg", {jpeg});
    co_await sending;
}

QCoro::Task<Result<void>> ShareUpload::sendVideo(QString path)
{
    m_bytes = QFileInfo(path).size();
    followParts(0);
    QCoro::Task<Result<QJsonArray>> uploading = m_parts.run(path);
    const Result<QJsonArray> replies = co_await uploading;
    if (!replies)
        co_return tl::unexpected(replies.error());

    // A report that arrives after the completion would put the page back to "uploading".
    QCoro::Task<void> settling = m_reports.settle(m_pace.lastReport);
    co_await settling;
    QCoro::Task<Result<QJsonObject>> completing
        = through(m_order.api, m_client)
              .post(API::sharePath(m_order.id, QStringLiteral("complete")), {{QStringLiteral("parts"), *replies}});
    const Result<QJsonObject> completed = co_await completing;
    if (!completed)
        co_return tl::unexpected(completed.error());
    co_return Result<void>();
}

void ShareUpload::followParts(qint64 sent)
{
    const double fraction = double(sent) / double(std::max<qint64>(m_bytes, 1));
    Q_EMIT moved(QStringLiteral("Uploading ") % percent(fraction), exportShare + (1 - exportShare) * fraction);
    m_reports.send(QStringLiteral("uploading"), fraction);
}

QCoro::Task<void> ShareUpload::reportFailure()
{
    m_reports.send(QStringLiteral("failed"), 0);
    QCoro::Task<void> settling = m_reports.settle(m_pace.lastReport);
    co_await settling;
}

void ShareUpload::announce(double exportedMs)
{
    const double playsAfterMs = MonotonicClock::nowMs() - m_order.startedMs;
    const qint64 megabytes = m_bytes / 1'000'000;
    Log::line(u"timing",
        QStringLiteral("share ") % m_order.id % QStringLiteral(": ") % QString::number(megabytes)
            % QStringLiteral(" MB, export ") % ms(exportedMs) % QStringLiteral(", upload ")
            % ms(playsAfterMs - exportedMs) % QStringLiteral(", link plays ") % ms(playsAfterMs)
            % QStringLiteral(" after Share"));
    if (m_editor) {
        m_editor->setStatus(QStringLiteral("Shared — link plays now (") % QString::number(playsAfterMs / 1000, 'f', 1)
            % QStringLiteral(" s)"));
    }
    Analytics::capture(QStringLiteral("share_uploaded"),
        {{QStringLiteral("plays_after_ms"), qint64(std::llround(playsAfterMs))},
            {QStringLiteral("export_ms"), qint64(std::llround(exportedMs))}, {QStringLiteral("mb"), megabytes}});
}

} // namespace kelmo
