#include "editor/Editor.h"
#include "media/CompositionBuilder.h"
#include "media/ExportFolder.h"
#include "platform/FileReveal.h"
#include "platform/MonotonicClock.h"
#include "platform/SleepInhibitor.h"
#include "platform/ThreadPriority.h"
#include "telemetry/Analytics.h"
#include "telemetry/Log.h"

#include <QCoreApplication>
#include <QCoroFuture>
#include <QtConcurrent>

namespace kelmo {

namespace {

constexpr double minProgress = 0.01;

tl::unexpected<Error> editorFailure(int code, const QString& description)
{
    return failure(QStringLiteral("Editor"), code, description);
}

/// The user's folder for exports, made when it is not there yet.
Result<QString> exportFolder()
{
    const QString folder = ExportFolder::path();
    if (!QDir().mkpath(folder))
        return editorFailure(5, QStringLiteral("Can’t create the folder ") % folder);
    return folder;
}

QString detail(const ExportSettings& settings)
{
    if (settings.engine == ExportSettings::Engine::Session)
        return QStringLiteral("preset");
    const QString size
        = settings.height ? QString::number(*settings.height) % QStringLiteral("p") : QStringLiteral("native");
    return size % QString::number(settings.fps);
}

void logEncoder(const ExportReport& report)
{
    const QString why = report.refusals.isEmpty()
        ? QString()
        : QStringLiteral(" (") % report.refusals.join(QStringLiteral("; ")) % QStringLiteral(")");
    Log::line(u"timing", QStringLiteral("export encoder: ") % report.encoder % why);
}

void logExport(const ExportSettings& settings, const ExportResult& result)
{
    const bool session = settings.engine == ExportSettings::Engine::Session;
    Log::line(u"timing",
        QStringLiteral("export ") % traits(settings.codec).displayName % QStringLiteral(" ") % detail(settings)
            % (session ? QStringLiteral(" [session] ") : QStringLiteral(" [writer] "))
            % QString::number(result.durationMs / 1000, 'f', 1) % QStringLiteral(" s of output in ")
            % QString::number(result.elapsedMs, 'f', 0) % QStringLiteral(" ms (")
            % QString::number(result.durationMs / std::max(result.elapsedMs, 1.0), 'f', 1)
            % QStringLiteral("× realtime) → ") % result.path);
}

} // namespace

ExportSettings Editor::exportSettings(
    std::optional<Codec> codec, std::optional<int> height, std::optional<int> fps, const QString& engine) const
{
    ExportSettings settings;
    settings.codec = codec.value_or(m_codec);
    settings.height = height ? (*height > 0 ? height : std::nullopt) : m_exportHeight;
    settings.fps = fps.value_or(m_exportFPS);
    settings.engine
        = engine == QStringLiteral("session") ? ExportSettings::Engine::Session : ExportSettings::Engine::Writer;
    return settings;
}

std::shared_ptr<const Built> Editor::edit() const
{
    if (!m_trimPreviewing || !m_loaded)
        return m_built;
    return CompositionBuilder::build(m_loaded, m_cuts.keep(m_loaded->durationMs));
}

void Editor::setExportProgress(std::optional<double> progress)
{
    m_exportProgress = progress;
    Q_EMIT exportChanged();
}

void Editor::cancelExport()
{
    if (m_exportCancelled)
        *m_exportCancelled = true;
}

QFuture<Result<ExportReport>> Editor::startExport(
    const std::shared_ptr<const Built>& edit, const ExportSettings& settings, const QString& path)
{
    m_exportCancelled = std::make_shared<std::atomic<bool>>(false);
    const QPointer<Editor> self(this);
    const auto progress = [self, reported = 0.0](double done) mutable {
        if (done <= reported + minProgress)
            return;
        reported = done;
        // The guard is read on the main thread only, where the editor dies.
        QMetaObject::invokeMethod(qApp, [self, done] {
            if (self && self->m_exportProgress)
                self->setExportProgress(done);
        });
    };
    return QtConcurrent::run(&m_lanes.exporting, [settings, path, progress, edit, cancelled = m_exportCancelled] {
        lowerThreadPriority(ThreadPriority::BelowUi);
        return Exporter::run(edit, settings, path, progress, *cancelled);
    });
}

void Editor::announceExport(const ExportSettings& settings, const ExportResult& result)
{
    logExport(settings, result);
    setStatus(QStringLiteral("Exported ") % QFileInfo(result.path).fileName() % QStringLiteral(" in ")
        % QString::number(result.elapsedMs / 1000, 'f', 1) % QStringLiteral(" s"));
    Analytics::capture(QStringLiteral("export_done"),
        {{QStringLiteral("codec"), traits(settings.codec).name},
            {QStringLiteral("duration_s"), qint64(std::llround(result.durationMs / 1000))},
            {QStringLiteral("elapsed_ms"), qint64(std::llround(result.elapsedMs))}});
}

QCoro::Task<Result<ExportResult>> Editor::exportVideo(
    std::optional<Codec> codec, std::optional<int> height, std::optional<int> fps, QString engine)
{
    const std::shared_ptr<const Built> edit = this->edit();
    if (!edit || !m_take)
        co_return tl::unexpected(whyNotLoaded());
    if (m_exportProgress)
        co_return editorFailure(3, QStringLiteral("An export is already running"));
    const ExportSettings settings = exportSettings(codec, height, fps, engine);
    const Result<QString> folder = exportFolder();
    if (!folder)
        co_return tl::unexpected(folder.error());
    const QString path = ExportFolder::freePath(*folder, m_take->base, settings.codec);
    const double startedAt = MonotonicClock::nowMs();
    const SleepInhibitor inhibitor(QStringLiteral("Exporting ") % m_take->base);
    setExportProgress(0);
    setStatus(QStringLiteral("Exporting ") % traits(settings.codec).displayName % QStringLiteral("…"));

    const QPointer<Editor> self(this);
    const double durationMs = edit->timeline.durationMs;
    const QFuture<Result<ExportReport>> running = startExport(edit, settings, path);
    const Result<ExportReport> report = co_await running;
    if (!self)
        co_return editorFailure(1, QStringLiteral("No take open"));

    m_exportCancelled.reset();
    setExportProgress(std::nullopt);
    if (!report) {
        setStatus(std::nullopt);
        co_return tl::unexpected(report.error());
    }
    const ExportResult result{path, MonotonicClock::nowMs() - startedAt, durationMs};
    logEncoder(*report);
    announceExport(settings, result);
    for (const QString& notice : report->notices) {
        Log::line(u"error", QStringLiteral("exported, but: ") % notice);
        setStatus(m_status.value_or(QString()) % QStringLiteral(". ") % notice);
    }
    co_return result;
}

QCoro::Task<void> Editor::exportFromUI()
{
    if (m_exportProgress) {
        setStatus(QStringLiteral("An export is already running"));
        co_return;
    }
    const QPointer<Editor> self(this);
    QCoro::Task<Result<ExportResult>> exporting
        = exportVideo(std::nullopt, std::nullopt, std::nullopt, QStringLiteral("writer"));
    const Result<ExportResult> result = co_await exporting;
    if (!self)
        co_return;
    if (result) {
        FileReveal::reveal(result->path);
        co_return;
    }
    if (result.error() == Exporter::cancellation()) {
        setStatus(QStringLiteral("Export cancelled"));
        co_return;
    }
    setStatus(QStringLiteral("Export failed: ") % userText(result.error()), StatusKind::Problem);
    Log::line(u"error", QStringLiteral("export failed: ") % logText(result.error()));
}

QCoro::Task<Result<QByteArray>> Editor::frame(double atEditedMs, double maxWidth)
{
    if (!m_built)
        co_return tl::unexpected(whyNotLoaded());
    const QFuture<Result<QByteArray>> grabbing = m_grabs.png(m_built, atEditedMs, maxWidth);
    co_return co_await grabbing;
}

} // namespace kelmo
