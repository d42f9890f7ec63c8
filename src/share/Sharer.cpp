#include "share/Sharer.h"

#include "model/Cuts.h"
#include "platform/http/UrlScheme.h"
#include "telemetry/Log.h"

#include <QClipboard>
#include <QCoroFuture>
#include <QDesktopServices>
#include <QGuiApplication>

namespace kelmo {

namespace {

/// A take that was recorded this recently is one that the user has just stopped.
constexpr qint64 justRecordedMs = 120'000;
constexpr int signInError = 1;

/// A take from elsewhere may link to any movie of the user's, which is then not published unasked.
bool wasJustRecorded(const Take& take)
{
    return take.isSelfContained() && Take::ageMs(take.syncPath()) < justRecordedMs;
}

/// Whether a look has shown that no user is signed in, rather than that it cannot be seen.
bool tellsSignedOut(const AccountStore::Lookup& lookup)
{
    const bool isOpen = lookup.status == SecretStore::Status::NotFound || lookup.status == SecretStore::Status::Found;
    return isOpen && !lookup.account;
}

} // namespace

Sharer::Sharer(Editor& editor, const ShareTimeouts& pace)
    : m_editor(editor)
    , m_pace(pace)
    , m_testRun(qEnvironmentVariableIsSet("KELMO_NO_AUTOSHARE"))
    , m_client(pace.requestTimeout)
{
    setConfig(loadConfig());
    connect(&editor, &Editor::cutsChanged, this, &Sharer::changed);
    connect(&editor, &Editor::takeChanged, this, [this] {
        if (m_editor.take() && !holds(*m_editor.take()))
            adoptTake(*m_editor.take());
    });
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state == Qt::ApplicationActive)
            becameActive();
    });
    if (editor.take())
        adoptTake(*editor.take());
    refreshAccount();
}

Sharer::~Sharer()
{
    for (const std::weak_ptr<ShareUpload>& each : m_works) {
        if (const std::shared_ptr<ShareUpload> work = each.lock())
            work->abort();
    }
}

template <class Value> void Sharer::assign(Value& property, const std::type_identity_t<Value>& value)
{
    if (property == value)
        return;
    property = value;
    Q_EMIT changed();
}

template void Sharer::assign(std::optional<QString>&, const std::optional<QString>&);
template void Sharer::assign(std::optional<double>&, const std::optional<double>&);
template void Sharer::assign(std::optional<Record>&, const std::optional<Record>&);
template void Sharer::assign(bool&, const bool&);

bool Sharer::isOutOfDate() const
{
    return m_record && (m_unfilled.contains(m_record->id) || m_record->signature != m_editor.cuts().signature());
}

void Sharer::setConfig(const std::optional<Config>& config)
{
    const std::optional<Config> before = std::exchange(m_config, config);
    if (m_config == before)
        return;
    if (m_config)
        save(*m_config);
    withdrawMissing();
    Q_EMIT changed();
}

std::optional<Sharer::Credentials> Sharer::credentials() const
{
    if (m_account)
        return Credentials{m_account->endpoint, m_account->token};
    if (m_config && !m_config->endpoint.isEmpty() && !m_config->token.isEmpty())
        return Credentials{m_config->endpoint, m_config->token};
    return std::nullopt;
}

bool Sharer::holds(const Take& take) const { return m_take && m_take->base == take.base && m_take->dir == take.dir; }

void Sharer::adoptTake(const Take& take)
{
    if (!holds(take)) {
        m_rerun = false;
        // An update that has yet to begin is the other take's; this one is still to be asked for.
        assign(m_starting, false);
    }
    m_take = take;
    std::optional<Record> record = loadRecord(take);
    // A folder that cannot be written to keeps no record; the upload still knows its own.
    if (!record && uploadsOpenTake())
        record = m_upload->record;
    assign(m_record, record);
}

void Sharer::adoptAccount(const AccountStore::Lookup& lookup)
{
    m_signedOut = tellsSignedOut(lookup);
    assign(m_account, lookup.account);
    if (!m_config && m_account)
        setConfig(Config{m_account->endpoint, {}});
    withdrawMissing();
}

QCoro::Task<void> Sharer::refreshAccount()
{
    if (m_testRun)
        co_return;
    const QPointer<Sharer> self(this);
    m_accounts.forget();
    const QFuture<AccountStore::Lookup> looking = m_accounts.current();
    const AccountStore::Lookup lookup = co_await looking;
    if (self)
        adoptAccount(lookup);
}

void Sharer::takeOpened(const Take& take)
{
    adoptTake(take);
    assign(m_lastError, std::nullopt);
    autoShare(take);
}

QCoro::Task<void> Sharer::autoShare(Take take)
{
    const QPointer<Sharer> self(this);
    const bool fresh = wasJustRecorded(take);
    QCoro::Task<void> refreshing = refreshAccount();
    co_await refreshing;
    if (!self || m_testRun || !fresh || !holds(take) || m_record)
        co_return;
    if (!m_config || !m_config->autoShare || !isConfigured())
        co_return;
    Log::line(u"share", QStringLiteral("auto-sharing new take ") % take.base);
    share(false);
}

void Sharer::becameActive() { shareAfterSignIn(); }

QCoro::Task<void> Sharer::shareAfterSignIn()
{
    const QPointer<Sharer> self(this);
    const bool signedOut = m_signedOut;
    QCoro::Task<void> refreshing = refreshAccount();
    co_await refreshing;
    if (!self || !signedOut || !m_account || m_record || m_upload || m_starting || m_linking || !m_editor.take())
        co_return;
    Log::line(u"share", QStringLiteral("signed in — sharing the open take"));
    share(false);
}

Result<void> Sharer::signIn()
{
    const QUrl url(QStringLiteral("kelmo-recorder://signin"));
    if (!UrlScheme::hasHandler(url.scheme()) || !QDesktopServices::openUrl(url)) {
        const QString problem = QStringLiteral("Signing in needs the recorder, which is not installed here");
        tellMissing(problem);
        return shareFailure(signInError, problem);
    }
    m_editor.setStatus(QStringLiteral("Sign in in the recorder, then come back here"));
    return {};
}

QCoro::Task<void> Sharer::shareFromUI()
{
    const QPointer<Sharer> self(this);
    QCoro::Task<Result<QString>> sharing = share(false);
    const Result<QString> link = co_await sharing;
    if (!self || link || m_lastError == userText(link.error())) // Whose change has been told.
        co_return;
    if (!isConfigured())
        tellMissing(QStringLiteral("Sign in to share: press Sign in at the bottom right"));
    else
        m_editor.setStatus(userText(link.error()), Editor::StatusKind::Problem);
}

/// Says what sharing needs, until it is there.
void Sharer::tellMissing(const QString& problem)
{
    m_missing = problem;
    m_editor.setStatus(problem, Editor::StatusKind::Problem);
}

void Sharer::withdrawMissing()
{
    if (m_missing && isConfigured())
        m_editor.withdrawStatus(*std::exchange(m_missing, std::nullopt));
}

void Sharer::copyLink()
{
    if (m_record)
        copy(m_record->url);
}

void Sharer::copy(const QString& url)
{
    QGuiApplication::clipboard()->setText(url);
    m_editor.setStatus(QStringLiteral("Link copied — ") % url);
}

} // namespace kelmo
