#include "platform/MonotonicClock.h"
#include "share/Sharer.h"
#include "telemetry/Log.h"

#include <QCoroFuture>
#include <QPromise>

namespace kelmo {

namespace {

constexpr int shareError = 1;

QString sinceMs(double startedMs)
{
    return QString::number(MonotonicClock::nowMs() - startedMs, 'f', 0) % QStringLiteral(" ms");
}

/// The link belongs to another user, or is gone.
bool isLost(const Error& error)
{
    return error.domain == QStringLiteral("Share") && (error.code == 403 || error.code == 404);
}

/// A line that can be copied and logged.
bool isLink(const QString& url)
{
    return !url.isEmpty()
        && std::none_of(url.begin(), url.end(), [](QChar each) { return each.category() == QChar::Other_Control; });
}

/// What the server asks for, unless it makes no sense.
qint64 partSizeFrom(const QJsonObject& reply)
{
    const qint64 size = reply.value(u"partSize").toInteger(API::usualPartSize);
    return size > 0 ? size : API::usualPartSize;
}

} // namespace

/// The right to ask the server for a link: one share has it at a time, so that two never make two links of one take.
/// Given back by `end`, and by its own end.
class Sharer::LinkTurn {
public:
    explicit LinkTurn(Sharer& sharer)
        : m_sharer(&sharer)
    {
        m_done.start();
        sharer.m_linking = m_done.future();
    }
    ~LinkTurn() { end(); }
    LinkTurn(const LinkTurn&) = delete;
    LinkTurn& operator=(const LinkTurn&) = delete;

    void end()
    {
        if (std::exchange(m_ended, true))
            return;
        if (m_sharer)
            m_sharer->m_linking.reset();
        m_done.finish();
    }

private:
    const QPointer<Sharer> m_sharer;
    QPromise<void> m_done;
    bool m_ended = false;
};

QCoro::Task<Result<QString>> Sharer::share(bool waitForUpload) { return share(waitForUpload, Caller::User); }

QCoro::Task<Result<QString>> Sharer::share(bool waitForUpload, Caller caller)
{
    const QPointer<Sharer> self(this);
    // What is shared is what was open when the user said so, even if the answer of a slow keyring is late.
    const std::optional<Take> asked = m_take;
    for (;;) {
        const std::optional<QString> atHand = waitForUpload ? std::nullopt : linkAtHand(caller);
        if (atHand)
            co_return *atHand;
        if (waitForUpload && uploadsOpenTake()) {
            const QFuture<Result<QString>> outcome = m_upload->outcome;
            co_return co_await outcome;
        }
        if (!m_linking)
            break;
        const QFuture<void> earlier = *m_linking;
        co_await earlier;
        if (!self)
            co_return shareCancelled();
    }
    LinkTurn turn(*this);
    QCoro::Task<void> refreshing = refreshAccount();
    co_await refreshing;
    if (!self)
        co_return shareCancelled();
    const std::optional<Error> refusal = whyNotShared(asked);
    if (refusal) {
        if (caller == Caller::BackgroundUpdate)
            logFailure(*refusal); // Not reported, and the link was copied already.
        co_return tl::unexpected(*refusal);
    }
    const double startedMs = MonotonicClock::nowMs();
    assign(m_lastError, std::nullopt);
    if (m_record && caller == Caller::User) {
        const QString url = m_record->url;
        copy(url);
        Log::line(u"share", QStringLiteral("link copied instantly (update): ") % url);
        if (!waitForUpload) {
            turn.end();
            updateInBackground();
            co_return url;
        }
    }
    const Take take = *m_take;
    const API server = api();
    QCoro::Task<Result<Link>> requesting = requestLink(take, server, startedMs);
    const Result<Link> link = co_await requesting;
    if (!self)
        co_return shareCancelled();
    if (!link)
        co_return tl::unexpected(link.error());
    const QFuture<Result<QString>> outcome = startUpload(take, *link, server, startedMs);
    turn.end();
    if (!waitForUpload)
        co_return link->record.url;
    co_return co_await outcome;
}

// A share in progress has a link already: it is given out at once, and what it does not play yet comes afterwards.
std::optional<QString> Sharer::linkAtHand(Caller caller)
{
    if (caller != Caller::User || !m_record || (!m_starting && !uploadsOpenTake()))
        return std::nullopt;
    copy(m_record->url);
    if (m_starting || m_uploadingSignature != m_editor.cuts().signature())
        m_rerun = true;
    return m_record->url;
}

std::optional<Error> Sharer::whyNotShared(const std::optional<Take>& asked) const
{
    if (!m_config || !credentials()) {
        return shareFailure(
            shareError, QStringLiteral("Sign in to share — click the Vorlix icon in the menu bar and choose Sign In…."))
            .value();
    }
    // A take whose media is not there yet could be given a link that never plays.
    if (!asked || !m_take || !m_editor.built())
        return shareFailure(shareError, QStringLiteral("No take open")).value();
    return holds(*asked) ? std::nullopt : std::optional<Error>(anotherTakeOpened().value());
}

tl::unexpected<Error> Sharer::anotherTakeOpened()
{
    return shareFailure(shareError, QStringLiteral("Another take was opened before the export began"));
}

API Sharer::api()
{
    const Credentials given = credentials().value_or(Credentials());
    API server{given.endpoint, given.token.trimmed(), m_account.has_value(), &m_client};
    if (server.endpoint.endsWith(QLatin1Char('/')) && !server.endpoint.endsWith(QStringLiteral("://")))
        server.endpoint.chop(1);
    return server;
}

QCoro::Task<void> Sharer::updateInBackground()
{
    const QPointer<Sharer> self(this);
    assign(m_starting, true);
    QCoro::Task<Result<QString>> updating = share(false, Caller::BackgroundUpdate);
    co_await updating;
    if (self)
        assign(m_starting, false);
}

QCoro::Task<Result<Sharer::Link>> Sharer::requestLink(Take take, API api, double startedMs)
{
    const QPointer<Sharer> self(this);
    const std::optional<Record> record = m_record;
    assign(m_phase, record ? QStringLiteral("Updating…") : QStringLiteral("Creating link…"));
    assign(m_progress, 0);
    if (record) {
        const QString path = API::sharePath(record->id, QStringLiteral("versions"));
        QCoro::Task<Result<QJsonObject>> posting = api.post(path, description(take));
        const Result<QJsonObject> reply = co_await posting;
        if (!self)
            co_return shareCancelled();
        if (reply) {
            Log::line(u"share",
                QStringLiteral("link updating in ") % sinceMs(startedMs) % QStringLiteral(": ") % record->url);
            const Link link{*record, partSizeFrom(*reply)};
            endLinkRequest(link);
            co_return link;
        }
        if (!isLost(reply.error())) {
            endLinkRequest(tl::unexpected(reply.error()));
            co_return tl::unexpected(reply.error());
        }
        Log::line(u"share",
            QStringLiteral("can't update ") % record->id % QStringLiteral(" from this account (")
                % QString::number(reply.error().code) % QStringLiteral("); making a new link"));
        if (holds(take))
            assign(m_record, std::nullopt);
    }
    QCoro::Task<Result<Link>> creating = createLink(take, api, startedMs);
    const Result<Link> link = co_await creating;
    if (!self)
        co_return shareCancelled();
    if (!link && holds(take))
        assign(m_record, record); // Without a new link the old one is still the take's.
    endLinkRequest(link);
    co_return link;
}

QCoro::Task<Result<Sharer::Link>> Sharer::createLink(Take take, API api, double startedMs)
{
    const QPointer<Sharer> self(this);
    QCoro::Task<Result<QJsonObject>> posting = api.post(QStringLiteral("/api/shares"), description(take));
    const Result<QJsonObject> reply = co_await posting;
    if (!reply)
        co_return tl::unexpected(reply.error());
    const Record record{reply->value(u"id").toString(), reply->value(u"url").toString(), {}};
    if (record.id.isEmpty() || !isLink(record.url))
        co_return shareFailure(shareError, QStringLiteral("Bad response from the share server"));
    if (!API::isUsableId(record.id))
        co_return shareFailure(shareError, QStringLiteral("The share server gave the link an id that can’t be used"));
    saveRecord(record, take);
    if (!self)
        co_return shareCancelled();
    if (holds(take)) {
        assign(m_record, record);
        copy(record.url);
    }
    Log::line(u"share", QStringLiteral("link created in ") % sinceMs(startedMs) % QStringLiteral(": ") % record.url);
    co_return Link{record, partSizeFrom(*reply)};
}

QJsonObject Sharer::description(const Take& take) const
{
    const std::shared_ptr<const Built> edit = m_editor.edit();
    return {{QStringLiteral("title"), take.base}, {QStringLiteral("durationMs"), edit ? edit->timeline.durationMs : 0}};
}

void Sharer::endLinkRequest(const Result<Link>& link)
{
    assign(m_starting, false);
    if (link)
        return;
    m_rerun = false;
    assign(m_phase, std::nullopt);
    assign(m_progress, std::nullopt);
    assign(m_lastError, userText(link.error()));
    logFailure(link.error());
}

} // namespace kelmo
