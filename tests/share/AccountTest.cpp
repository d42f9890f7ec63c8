#include "tests/share/Keyring.h"
#include "tests/share/ShareFixture.h"

#include <QElapsedTimer>
#include <QGuiApplication>

namespace kelmo {

namespace {

using Status = SecretStore::Status;

QString text(const char* utf8) { return QString::fromUtf8(utf8); }

class Account : public ShareFixture {
protected:
    Account() { qunsetenv("KELMO_NO_KEYCHAIN"); }
    ~Account() override { qputenv("KELMO_NO_KEYCHAIN", "1"); }

    [[nodiscard]] QByteArray signedIn(const QString& token) const
    {
        return QJsonDocument(QJsonObject{{text("endpoint"), m_server->endpoint()}, {text("token"), token},
                                 {text("email"), text("ann@example.com")}})
            .toJson();
    }

    [[nodiscard]] static AccountStore::Lookup look()
    {
        const QFuture<AccountStore::Lookup> looking = AccountStore::read();
        EXPECT_TRUE(waitUntil([&looking] { return looking.isFinished(); }));
        return looking.result();
    }

    void refresh()
    {
        QCoro::Task<void> refreshing = m_sharer->refreshAccount();
        QCoro::waitFor(refreshing);
    }

    Keyring* const m_keyring = Keyring::start();
};

} // namespace

TEST(KelmoAccount, fromJsonNeedsEndpointAndToken)
{
    const struct {
        const char* json;
        std::optional<KelmoAccount> account;
    } cases[] = {
        {R"({"endpoint":"e","token":"t"})", KelmoAccount{text("e"), text("t"), {}, {}}},
        {R"({"endpoint":"e","token":"t","email":"a@b","userId":"7","more":[]})",
            KelmoAccount{text("e"), text("t"), text("a@b"), text("7")}},
        {R"({"endpoint":"e","token":"t","email":null})", KelmoAccount{text("e"), text("t"), {}, {}}},
        {R"({"endpoint":"e","token":""})", std::nullopt},
        {R"({"endpoint":"","token":"t"})", std::nullopt},
        {R"({"token":"t"})", std::nullopt},
        {R"({"endpoint":"e","token":"t","email":7})", std::nullopt},
        {R"(["e","t"])", std::nullopt},
        {"secret", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& each : cases)
        EXPECT_EQ(KelmoAccount::fromJson(each.json), each.account) << each.json;
}

TEST_F(Account, storedAccountIsReadOnceUntilLookedForAgain)
{
    if (!m_keyring)
        GTEST_SKIP() << "no Secret Service to be had here";
    startServer();
    EXPECT_EQ(look().status, Status::NotFound);
    ASSERT_TRUE(m_keyring->store(signedIn(text("first"))));
    AccountStore store;
    const QFuture<AccountStore::Lookup> one = store.current();
    const QFuture<AccountStore::Lookup> two = store.current();
    ASSERT_TRUE(waitUntil([&] { return one.isFinished() && two.isFinished(); }));
    ASSERT_TRUE(one.result().account);
    EXPECT_EQ(one.result().account->token, text("first"));
    EXPECT_EQ(two.result().account->email, text("ann@example.com"));

    ASSERT_TRUE(m_keyring->store(signedIn(text("second"))));
    EXPECT_TRUE(store.current().isFinished());
    EXPECT_EQ(store.current().result().account->token, text("first"));
    store.forget();
    const QFuture<AccountStore::Lookup> again = store.current();
    ASSERT_TRUE(waitUntil([&] { return again.isFinished(); }));
    EXPECT_EQ(again.result().account->token, text("second"));

    qputenv("KELMO_NO_KEYCHAIN", "");
    EXPECT_EQ(store.current().result().account, std::nullopt);
    qunsetenv("KELMO_NO_KEYCHAIN");
    ASSERT_TRUE(m_keyring->store(R"({"endpoint":"https://s.example","token":""})"));
    EXPECT_EQ(look().account, std::nullopt);
    EXPECT_EQ(look().status, Status::Found);
}

TEST_F(Account, accountWinsOverTheConfiguredTokenAndWordsTheRefusal)
{
    if (!m_keyring)
        GTEST_SKIP() << "no Secret Service to be had here";
    startServer();
    ASSERT_TRUE(m_keyring->store(signedIn(m_token)));
    Sharer::save({text("https://nowhere.invalid"), text("other"), false});
    startSharer();
    openTake();
    ASSERT_TRUE(share(true));
    EXPECT_EQ(m_sharer->account()->email, text("ann@example.com"));
    EXPECT_TRUE(m_sharer->isConfigured());

    ASSERT_TRUE(m_keyring->store(signedIn(text("expired-token"))));
    edit();
    const Result<QString> refused = share(true);
    ASSERT_FALSE(refused);
    EXPECT_EQ(
        refused.error().description, text("Your sign-in has expired — choose Sign In… from the Vorlix menu bar icon."));
    ASSERT_TRUE(m_keyring->remove());
    refresh();
    EXPECT_EQ(m_sharer->account(), std::nullopt);
}

TEST_F(Account, signingInWhileATakeIsOpenConfiguresAndSharesIt)
{
    if (!m_keyring)
        GTEST_SKIP() << "no Secret Service to be had here";
    startServer();
    startSharer();
    openTake();
    EXPECT_FALSE(share(false));
    EXPECT_TRUE(configFile().isEmpty());
    ASSERT_TRUE(m_keyring->store(signedIn(m_token)));
    Q_EMIT qGuiApp->applicationStateChanged(Qt::ApplicationActive);
    ASSERT_TRUE(waitUntil([this] { return m_sharer->record().has_value(); }));
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_TRUE(shareLog().contains(text("signed in — sharing the open take")));
    EXPECT_TRUE(m_server->book().share(text("1"))->plays);
    EXPECT_EQ(m_sharer->config(), (Sharer::Config{m_server->endpoint(), {}, true, text("1080p")}));
    EXPECT_EQ(QJsonDocument::fromJson(configFile()).object().value(u"token").toString(text("none")), QString());

    // Coming back again shares nothing more,
    edit();
    m_sharer->becameActive();
    refresh();
    wait(50);
    EXPECT_EQ(m_server->book().share(text("1"))->version, 1);
    // and an account that was there from the start is no sign-in.
    m_sharer.reset();
    QFile::remove(m_takes.file(text("talk_share.json")));
    startSharer();
    m_sharer->becameActive();
    m_sharer->becameActive();
    ASSERT_TRUE(waitUntil([this] { return m_sharer->account().has_value(); }));
    m_sharer->becameActive();
    wait(50);
    EXPECT_EQ(m_server->book().count(), 1);
}

TEST_F(Account, lookInATestRunIsNeverTaken)
{
    if (!m_keyring)
        GTEST_SKIP() << "no Secret Service to be had here";
    startServer();
    ASSERT_TRUE(m_keyring->store(signedIn(m_token)));
    qputenv("KELMO_NO_AUTOSHARE", "");
    startSharer();
    refresh();
    wait(100);
    EXPECT_EQ(m_sharer->account(), std::nullopt);
    EXPECT_TRUE(configFile().isEmpty());
}

TEST_F(Account, takeOpenedWhileTheStoreIsSlowIsNotShared)
{
    if (!m_keyring)
        GTEST_SKIP() << "no Secret Service to be had here";
    startServer();
    configure();
    startSharer();
    openTake();
    openTake(text("other"));
    refresh();
    m_keyring->freeze();
    QCoro::Task<Result<QString>> sharing = m_sharer->share(true);
    openTake();
    m_keyring->thaw();
    const Result<QString> refused = QCoro::waitFor(sharing);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().description, text("Another take was opened before the export began"));
    EXPECT_EQ(m_server->requests().size(), 0U);
}

// Locked for good, and therefore after the others.
TEST_F(Account, lockedOrSilentStoreIsNoAccountInTimeAndBlocksNothing)
{
    if (!m_keyring)
        GTEST_SKIP() << "no Secret Service to be had here";
    startServer();
    ASSERT_TRUE(m_keyring->store(signedIn(m_token)));
    ASSERT_TRUE(m_keyring->lock());
    EXPECT_EQ(look().status, Status::Locked);
    EXPECT_EQ(look().account, std::nullopt);

    m_keyring->freeze();
    QElapsedTimer sinceTick;
    qint64 longestGap = 0;
    QTimer ticking;
    QObject::connect(
        &ticking, &QTimer::timeout, &ticking, [&] { longestGap = std::max(longestGap, sinceTick.restart()); });
    sinceTick.start();
    ticking.start(1);
    QElapsedTimer looking;
    looking.start();
    EXPECT_EQ(look().status, Status::TimedOut);
    EXPECT_GE(looking.elapsed(), 1500);
    EXPECT_LT(looking.elapsed(), 10'000);
    EXPECT_LT(longestGap, 1000);
    m_keyring->thaw();
}

TEST_F(ShareFixture, withoutAnyMessageBusThereIsNoAccount)
{
    qunsetenv("KELMO_NO_KEYCHAIN");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere");
    startServer();
    configure();
    startSharer();
    openTake();
    EXPECT_TRUE(share(true)) << "the configured token does";
    EXPECT_EQ(m_sharer->account(), std::nullopt);
}

} // namespace kelmo
