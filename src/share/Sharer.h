#pragma once

#include "share/AccountStore.h"
#include "share/ShareUpload.h"

#include <QSet>

#include <type_traits>

namespace kelmo {

/// Makes a link for the open take that works at once, and fills it: the link is copied before the video exists, the
/// edit is exported and uploaded behind it, and sharing again updates the same link. One object for the whole run,
/// owned by the application beside the editor; main thread only.
class Sharer : public QObject {
    Q_OBJECT

public:
    /// How the user shares, on this machine: "Library/Application Support/Kelmo/share.json" in the home folder.
    struct Config {
        QString endpoint; ///< Base URL of the share server.
        QString token; ///< Empty when an account is used.
        bool autoShare = true; ///< Share a take that was opened just after its recording.
        QString quality = QStringLiteral("1080p"); ///< "native" keeps the recording's size; all else is 1080 lines.

        bool operator==(const Config&) const = default;
    };

    /// The link of one take, kept beside it as "<base>_share.json".
    struct Record {
        QString id;
        QString url;
        QString signature; ///< Of the edit that the link plays; empty too before it plays any.

        bool operator==(const Record&) const = default;
    };

    /// Requires: the editor outlives the sharer.
    explicit Sharer(Editor& editor, const ShareTimeouts& pace = {});
    ~Sharer() override;

    // What a view shows. `changed` tells when any of it is another.
    [[nodiscard]] const std::optional<Config>& config() const { return m_config; }
    [[nodiscard]] const std::optional<Record>& record() const { return m_record; } ///< Of the open take.
    [[nodiscard]] const std::optional<QString>& phase() const { return m_phase; } ///< Absent when idle.
    [[nodiscard]] std::optional<double> progress() const { return m_progress; } ///< 0 to 1; absent when idle.
    [[nodiscard]] const std::optional<QString>& uploadingSignature() const { return m_uploadingSignature; }
    [[nodiscard]] const std::optional<QString>& lastError() const { return m_lastError; }
    [[nodiscard]] const std::optional<KelmoAccount>& account() const { return m_account; }
    [[nodiscard]] bool starting() const { return m_starting; } ///< An update has yet to hear from the server.
    [[nodiscard]] bool isUploading() const { return m_upload.has_value(); }
    [[nodiscard]] bool isConfigured() const { return credentials().has_value(); }
    [[nodiscard]] bool isOutOfDate() const; ///< The link plays another edit than the current one.

    /// Saved when it is there and differs.
    void setConfig(const std::optional<Config>& config);

    /// Shares the current edit and answers the link: as soon as there is one, or, with `waitForUpload`, when it plays.
    /// Fails with one sentence for the user, which is then `lastError` as well, unless nothing was begun.
    QCoro::Task<Result<QString>> share(bool waitForUpload);

    void copyLink(); ///< Puts the link on the clipboard; nothing without one.
    /// Shares from the window. What goes wrong before anything was begun becomes the status.
    QCoro::Task<void> shareFromUI();
    /// Asks the recorder to. The account comes with the next `refreshAccount`. Fails, and says so in the status, if
    /// there is no recorder.
    Result<void> signIn();
    QCoro::Task<void> refreshAccount(); ///< Takes over the account as it is in the user's secret store now.

    void takeOpened(const Take& take); ///< To be called for each take when it is ready.
    void becameActive(); ///< Called whenever the application comes to the front.

    static void save(const Config& config);
    static void saveRecord(const Record& record, const Take& take);

Q_SIGNALS:
    void changed();

private:
    enum class Caller { User, BackgroundUpdate };
    struct Credentials {
        QString endpoint;
        QString token;
    };
    /// A link that is ready to be filled.
    struct Link {
        Record record;
        qint64 partSize = API::usualPartSize;
    };
    /// The upload under way, or waiting for the one before it.
    struct Upload {
        int number = 0;
        Take take;
        Record record;
        QFuture<Result<QString>> outcome;
    };
    class LinkTurn;
    using Outcome = std::shared_ptr<QPromise<Result<QString>>>;

    // Sharer.cpp
    template <class Value> void assign(Value& property, const std::type_identity_t<Value>& value);
    void adoptTake(const Take& take);
    void adoptAccount(const AccountStore::Lookup& lookup);
    void tellMissing(const QString& problem);
    void withdrawMissing();
    [[nodiscard]] std::optional<Credentials> credentials() const;
    [[nodiscard]] bool holds(const Take& take) const;
    void copy(const QString& url);
    QCoro::Task<void> autoShare(Take take);
    QCoro::Task<void> shareAfterSignIn();

    // SharerLink.cpp
    QCoro::Task<Result<QString>> share(bool waitForUpload, Caller caller);
    [[nodiscard]] std::optional<QString> linkAtHand(Caller caller);
    [[nodiscard]] bool uploadsOpenTake() const { return m_upload && holds(m_upload->take); }
    [[nodiscard]] std::optional<Error> whyNotShared(const std::optional<Take>& asked) const;
    [[nodiscard]] static tl::unexpected<Error> anotherTakeOpened();
    [[nodiscard]] API api();
    QCoro::Task<void> updateInBackground();
    QCoro::Task<Result<Link>> requestLink(Take take, API api, double startedMs);
    QCoro::Task<Result<Link>> createLink(Take take, API api, double startedMs);
    [[nodiscard]] QJsonObject description(const Take& take) const;
    void endLinkRequest(const Result<Link>& link);

    // SharerUpload.cpp
    [[nodiscard]] QFuture<Result<QString>> startUpload(const Take& take, const Link& link, API api, double startedMs);
    QCoro::Task<void> runUpload(
        Upload upload, std::shared_ptr<ShareUpload> work, std::optional<Upload> previous, Outcome outcome);
    QCoro::Task<Result<void>> perform(Upload upload, std::shared_ptr<ShareUpload> work);
    static void logFailure(const Error& error);
    void keepSignature(const Upload& upload, const QString& signature);
    void endUpload(const Upload& upload);

    // SharerFiles.cpp
    [[nodiscard]] static std::optional<Config> loadConfig();
    [[nodiscard]] static std::optional<Record> loadRecord(const Take& take);

    Editor& m_editor;
    const ShareTimeouts m_pace;
    const bool m_testRun; ///< No account is looked up and nothing is shared unasked.
    HttpClient m_client;
    AccountStore m_accounts;

    std::optional<Config> m_config;
    std::optional<Take> m_take; ///< Whose record this is.
    std::optional<Record> m_record;
    std::optional<QString> m_phase;
    std::optional<double> m_progress;
    std::optional<QString> m_uploadingSignature;
    QString m_uploadedSignature; ///< Of the edit that the last upload carries.
    QSet<QString> m_unfilled; ///< Links, by id, whose last upload failed: what they play is not known.
    std::optional<QString> m_lastError;
    std::optional<QString> m_missing; ///< What the status says that sharing needs; until there are credentials.
    std::optional<KelmoAccount> m_account;
    bool m_signedOut = false; ///< A look at the store has shown that there is no account.
    bool m_starting = false;
    bool m_rerun = false; ///< A newer edit was asked for while an upload ran.
    std::optional<QFuture<void>> m_linking; ///< The link being requested: one at a time.
    std::optional<Upload> m_upload;
    std::vector<std::weak_ptr<ShareUpload>> m_works; ///< To be aborted with the sharer.
    int m_uploads = 0; ///< Begun so far.
};

} // namespace kelmo
