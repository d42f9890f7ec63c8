#include "share/Sharer.h"
#include "telemetry/Log.h"

#include <QCoroFuture>
#include <QPromise>

namespace kelmo {

namespace {

constexpr int fullHeight = 1080;

} // namespace

QFuture<Result<QString>> Sharer::startUpload(const Take& take, const Link& link, API api, double startedMs)
{
    const auto outcome = std::make_shared<QPromise<Result<QString>>>();
    outcome->start();
    const bool native = m_config && m_config->quality == QStringLiteral("native");
    const auto work = std::make_shared<ShareUpload>(m_editor,
        ShareUpload::Order{link.record.id, std::move(api), link.partSize,
            native ? std::nullopt : std::optional<int>(fullHeight), startedMs},
        m_pace);
    connect(work.get(), &ShareUpload::moved, this, [this](const QString& phase, double progress) {
        assign(m_phase, phase);
        assign(m_progress, progress);
    });
    std::erase_if(m_works, [](const std::weak_ptr<ShareUpload>& each) { return each.expired(); });
    m_works.push_back(work);

    const std::optional<Upload> previous
        = std::exchange(m_upload, Upload{++m_uploads, take, link.record, outcome->future()});
    assign(m_uploadingSignature, m_editor.cuts().signature());
    Q_EMIT changed();
    runUpload(*m_upload, work, previous, outcome);
    return outcome->future();
}

QCoro::Task<void> Sharer::runUpload(
    Upload upload, std::shared_ptr<ShareUpload> work, std::optional<Upload> previous, Outcome outcome)
{
    const QPointer<Sharer> self(this);
    // The upload of a take that was open before goes on; there is one at a time.
    if (previous) {
        const QFuture<Result<QString>> earlier = previous->outcome;
        co_await earlier;
    }
    Result<void> uploaded = shareCancelled();
    if (self) {
        QCoro::Task<Result<void>> performing = perform(upload, work);
        uploaded = co_await performing;
    }
    if (self)
        endUpload(upload);
    outcome->addResult(uploaded ? Result<QString>(upload.record.url) : tl::unexpected(uploaded.error()));
    outcome->finish();
}

QCoro::Task<Result<void>> Sharer::perform(Upload upload, std::shared_ptr<ShareUpload> work)
{
    const QPointer<Sharer> self(this);
    const QString signature = m_editor.cuts().signature();
    m_uploadedSignature = signature;
    assign(m_uploadingSignature, signature);
    Result<void> uploaded = anotherTakeOpened();
    if (holds(upload.take)) {
        QCoro::Task<Result<void>> running = work->run();
        uploaded = co_await running;
    }
    if (!self)
        co_return shareCancelled();
    if (uploaded) {
        m_unfilled.remove(upload.record.id);
        keepSignature(upload, signature);
    }
    assign(m_phase, std::nullopt);
    if (!uploaded) {
        m_unfilled.insert(upload.record.id);
        assign(m_lastError, userText(uploaded.error()));
        QCoro::Task<void> reporting = work->reportFailure();
        co_await reporting;
        logFailure(uploaded.error());
    }
    co_return uploaded;
}

void Sharer::logFailure(const Error& error) { Log::line(u"share", QStringLiteral("failed: ") % logText(error)); }

void Sharer::keepSignature(const Upload& upload, const QString& signature)
{
    Record record = upload.record;
    record.signature = signature;
    saveRecord(record, upload.take);
    if (holds(upload.take))
        assign(m_record, record);
}

void Sharer::endUpload(const Upload& upload)
{
    if (m_upload->number != upload.number)
        return;
    m_upload.reset();
    assign(m_uploadingSignature, std::nullopt);
    assign(m_progress, std::nullopt);
    Q_EMIT changed();
    if (std::exchange(m_rerun, false) && holds(upload.take) && m_editor.cuts().signature() != m_uploadedSignature)
        share(false);
}

} // namespace kelmo
