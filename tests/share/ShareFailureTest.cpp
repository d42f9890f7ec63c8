#include "tests/share/ShareFixture.h"

namespace kelmo {

namespace {

using Fault = ShareServer::Fault;
using Handling = ShareServer::Handling;
using Request = ShareServer::Request;
using ShareFailure = ShareFixture;

QString text(const char* utf8) { return QString::fromUtf8(utf8); }

const char* const signInText = "Sign in to share — click the Vorlix icon in the menu bar and choose Sign In….";

} // namespace

TEST_F(ShareFailure, linkOfAnotherAccountOrNoneIsReplacedByANewOne)
{
    startAll();
    ASSERT_TRUE(share(true));
    m_server->book().lose(text("1"));
    edit();
    const Result<QString> url = share(true);
    EXPECT_EQ(url, QString(m_server->endpoint() % text("/v/2")));
    EXPECT_EQ(clipboard(), *url);
    expectPlaysCurrentEdit(text("2"));
    EXPECT_EQ(recordFile().value(u"id").toString(), text("2"));
    EXPECT_TRUE(shareLog().contains(text("can't update 1 from this account (403); making a new link")));

    Sharer::saveRecord({text("99"), text("https://example.com/v/99"), {}}, *m_editor->take());
    m_sharer->takeOpened(*m_editor->take());
    edit();
    ASSERT_TRUE(share(true));
    EXPECT_TRUE(shareLog().contains(text("can't update 99 from this account (404); making a new link")));
    expectPlaysCurrentEdit(text("3"));

    // Without a new link the old one stays the take's.
    m_server->book().lose(text("3"));
    const std::optional<Sharer::Record> before = m_sharer->record();
    m_server->setScript([](const Request& request) {
        return request.path == "/api/shares" ? Handling{Fault::Status, 503, R"({"message":"Full up"})"} : Handling();
    });
    const Result<QString> refused = share(true);
    ASSERT_FALSE(refused);
    EXPECT_EQ(m_sharer->lastError(), text("Full up"));
    EXPECT_EQ(m_sharer->record(), before);
    EXPECT_EQ(recordFile().value(u"id").toString(), text("3"));
}

TEST_F(ShareFailure, nothingToShareWithOrNothingToShareIsSaidAndChangesNothing)
{
    startServer();
    startSharer();
    openTake();
    Result<QString> refused = share(false);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error(), (Error{text("Share"), 1, text(signInText)}));
    EXPECT_FALSE(m_sharer->isConfigured());
    m_sharer->setConfig(Sharer::Config{m_server->endpoint(), {}});
    EXPECT_EQ(share(false), refused);
    EXPECT_EQ(m_sharer->lastError(), std::nullopt);

    m_sharer.reset();
    configure();
    m_editor = std::make_unique<Editor>(Editor::Sound::Muted);
    startSharer();
    refused = share(true);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error(), (Error{text("Share"), 1, text("No take open")}));
    // A take that is still being loaded has nothing to share yet.
    m_editor->open(m_takes.movie(text("talk")));
    EXPECT_EQ(share(true), refused);
    EXPECT_EQ(m_server->requests().size(), 0U);
    EXPECT_EQ(m_sharer->phase(), std::nullopt);
}

TEST_F(ShareFailure, linkThatCannotBeMadeIsOneSentenceAndNoRecord)
{
    startAll();
    const struct {
        Handling handling;
        const char* message;
    } cases[] = {
        {{Fault::Status, 200, "garbage"}, "Bad response from the share server"},
        {{Fault::Status, 200, R"({"id":7,"url":"x"})"}, "Bad response from the share server"},
        {{Fault::Status, 200, R"({"id":"7"})"}, "Bad response from the share server"},
        {{Fault::Status, 200, R"({"id":"..","url":"https://s/v"})"},
            "The share server gave the link an id that can’t be used"},
        {{Fault::Status, 200, R"({"id":"7","url":"https://s\nforged"})"}, "Bad response from the share server"},
        {{Fault::Status, 401, R"({"message":"no"})"}, "The share server rejected the token — check Settings."},
        {{Fault::Status, 402, R"({"message":"Pay first"})"}, "Pay first"},
        {{Fault::Status, 500, "sorry"}, "Share server error 500: sorry"},
        {{Fault::Status, 302, ""}, "Share server error 302: "},
        {{Fault::Garbage}, "Can’t reach the share server: "},
        {{Fault::Drop}, "Can’t reach the share server: "},
        {{Fault::DropInside}, "Can’t reach the share server: "},
        {{Fault::Status, 500, "your token is sesame-0123456789"}, "Share server error 500: your token is …"},
        {{Fault::Status, 500, R"({"message":"not sesame\u002d0123456789"})"}, "not …"},
    };
    for (const auto& each : cases) {
        m_server->setScript([each](const Request&) { return each.handling; });
        const size_t before = m_server->requests().size();
        const Result<QString> refused = share(false);
        ASSERT_FALSE(refused) << each.message;
        EXPECT_TRUE(userText(refused.error()).startsWith(text(each.message))) << qPrintable(userText(refused.error()));
        EXPECT_EQ(m_sharer->lastError(), userText(refused.error()));
        EXPECT_TRUE(shareLog().contains(QString(text("failed: ") % logText(refused.error()))));
        EXPECT_EQ(m_sharer->phase(), std::nullopt);
        EXPECT_EQ(m_sharer->progress(), std::nullopt);
        EXPECT_EQ(m_sharer->record(), std::nullopt);
        EXPECT_EQ(m_server->requests().size(), before + 1) << "a request is made once: " << each.message;
    }
    EXPECT_TRUE(recordFile().isEmpty());
    m_sharer->setConfig(Sharer::Config{text("http://"), m_token, false});
    ASSERT_FALSE(share(false));
    EXPECT_EQ(m_sharer->lastError(), text("The share server’s address is not valid: http://"));
    m_sharer->setConfig(Sharer::Config{m_server->endpoint() % text("/"), m_token, false});
    m_server->setScript({});
    ASSERT_TRUE(share(true));
    EXPECT_EQ(m_server->book().count(), 1);
    expectPlaysCurrentEdit();
}

TEST_F(ShareFailure, silentServerIsGivenUpInTime)
{
    startServer();
    configure();
    ShareTimeouts pace = quickPace();
    pace.requestTimeout = std::chrono::milliseconds(300);
    startSharer(pace);
    openTake();
    m_server->setScript([](const Request&) { return Handling{Fault::Silent}; });
    ASSERT_FALSE(share(false));
    EXPECT_EQ(m_sharer->lastError(), text("Can’t reach the share server: it does not answer"));
}

TEST_F(ShareFailure, failedUploadKeepsTheOldSignatureTellsTheServerAndCanBeRepeated)
{
    startAll(1000);
    ASSERT_TRUE(share(true));
    const QString shared = signature();
    edit();
    answer("/parts/2", 507, R"({"message":"No room"})");
    const Result<QString> failed = share(true);
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error(), (Error{text("Share"), 507, text("No room")}));
    EXPECT_EQ(m_sharer->lastError(), text("No room"));
    EXPECT_EQ(m_server->count("PUT", "/api/shares/1/parts/2"), 1 + 3);
    EXPECT_EQ(m_server->book().share(text("1"))->status, text("failed"));
    EXPECT_EQ(recordFile().value(u"signature").toString(), shared);
    EXPECT_TRUE(m_sharer->isOutOfDate());
    EXPECT_FALSE(m_sharer->isUploading());
    EXPECT_TRUE(shareLog().contains(text("failed: No room (Share 507)")));
    m_server->setScript({});
    ASSERT_TRUE(share(true));
    expectPlaysCurrentEdit();

    edit();
    answer("/complete", 500, "x");
    ASSERT_FALSE(share(true));
    EXPECT_EQ(m_sharer->lastError(), text("Share server error 500: x"));
    EXPECT_NE(m_sharer->record()->signature, signature());
}

TEST_F(ShareFailure, partThatArrivedWhileTheWindowWasBusyIsNotShownAfterTheFailure)
{
    startAll(400);
    // Part 2 is refused for good at the moment at which the three others of its lanes arrive, while nothing is shown.
    const auto gate = std::make_shared<std::atomic<bool>>(false);
    m_server->setScript([gate, refused = 0](const Request& request) mutable {
        if (!request.path.contains("/parts/"))
            return Handling();
        const Handling noRoom{Fault::Status, 507, R"({"message":"No room"})"};
        if (!request.path.endsWith("/parts/2"))
            return Handling{Fault::None, 0, {}, {}, gate};
        return ++refused < 3 ? noRoom : Handling{noRoom.fault, noRoom.status, noRoom.body, {}, gate};
    });
    bool away = false;
    QTimer busy;
    QObject::connect(&busy, &QTimer::timeout, [&] {
        if (m_server->count("PUT", "/api/shares/1/parts/") < 6 || std::exchange(away, true))
            return;
        *gate = true;
        while (m_server->answeredParts() < 6)
            QThread::yieldCurrentThread();
        QThread::msleep(20); // The answers are on their way.
    });
    busy.start(0);
    const Result<QString> failed = share(true);
    ASSERT_FALSE(failed);
    EXPECT_EQ(userText(failed.error()), text("No room"));
    EXPECT_TRUE(away);
    for (int i = 0; i < 20; ++i)
        QCoreApplication::processEvents();
    EXPECT_EQ(m_sharer->phase(), std::nullopt);
    EXPECT_EQ(m_sharer->progress(), std::nullopt);
}

TEST_F(ShareFailure, answerThatNeverEndsHoldsUpNeitherTheWindowNorTheEnd)
{
    startAll(1000);
    m_server->setScript([](const Request& request) {
        return request.path.endsWith("/progress") ? Handling{Fault::EndlessHead} : Handling();
    });
    QElapsedTimer sinceTurn;
    qint64 longestMs = 0;
    QTimer turns;
    QObject::connect(&turns, &QTimer::timeout, [&] { longestMs = std::max(longestMs, sinceTurn.restart()); });
    sinceTurn.start();
    turns.start(1);
    ASSERT_TRUE(share(true));
    ASSERT_TRUE(waitUntilIdle());
    expectPlaysCurrentEdit();
    edit();
    const int reports = m_server->count("POST", "/api/shares/1/progress");
    ASSERT_TRUE(share(false));
    ASSERT_TRUE(waitUntil([&] { return m_server->count("POST", "/api/shares/1/progress") > reports; }));
    sinceTurn.restart();
    m_sharer.reset();
    longestMs = std::max(longestMs, sinceTurn.elapsed());
    EXPECT_LT(longestMs, 2'500);
}

TEST_F(ShareFailure, updateInTheBackgroundThatFailsIsLogged)
{
    startAll();
    ASSERT_TRUE(share(true));
    edit();
    answer("/versions", 500, "x");
    ASSERT_TRUE(share(false)) << "the link is known";
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_EQ(m_sharer->lastError(), text("Share server error 500: x"));
    EXPECT_TRUE(shareLog().contains(text("failed: Share server error 500: x (Share 500)")));
    EXPECT_TRUE(m_sharer->isOutOfDate());
}

TEST_F(ShareFailure, recordThatNamesNoShareIsReplaced)
{
    startAll();
    for (const char* id : {"..", ".", "", "a\\u000ab"}) {
        m_takes.write(text("talk_share.json"), QByteArray(R"({"id":")") + id + R"(","url":"u","signature":""})");
        m_sharer->takeOpened(*m_editor->take());
        EXPECT_EQ(m_sharer->record(), std::nullopt) << id;
        ASSERT_TRUE(share(true)) << id;
        EXPECT_EQ(recordFile().value(u"id").toString(), QString::number(m_server->book().count()));
    }
    // One that can be named, but only elsewhere, is asked for by its name and nothing else.
    Sharer::saveRecord({text("../../other?x"), text("https://example.com/v"), {}}, *m_editor->take());
    m_sharer->takeOpened(*m_editor->take());
    ASSERT_TRUE(share(true));
    EXPECT_EQ(m_server->count("POST", "/api/shares/..%2F..%2Fother%3Fx/versions"), 1);
    EXPECT_TRUE(shareLog().contains(text("can't update ../../other?x from this account (404); making a new link")));
    expectPlaysCurrentEdit(text("5"));
}

TEST_F(ShareFailure, linkThatWasNeverFilledIsOutOfDateEvenForATakeWithoutEdits)
{
    startAll();
    answer("/complete", 500, "x");
    ASSERT_FALSE(share(true));
    EXPECT_EQ(m_sharer->record()->signature, signature()) << "no edit has no signature, and neither has a new link";
    EXPECT_TRUE(m_sharer->isOutOfDate());
    m_server->setScript({});
    ASSERT_TRUE(share(true));
    EXPECT_FALSE(m_sharer->isOutOfDate());
}

TEST_F(ShareFailure, partThatFailsTwiceIsUploadedAtTheThirdAttemptAfterTwoWaits)
{
    startAll();
    std::vector<double> times;
    m_server->setScript([&times](const Request& request) {
        if (!request.path.contains("/parts/"))
            return Handling();
        times.push_back(double(std::chrono::steady_clock::now().time_since_epoch().count()) / 1e6);
        return times.size() > 2 ? Handling() : Handling{times.size() == 1 ? Fault::Drop : Fault::Status};
    });
    m_sharer.reset();
    ShareTimeouts pace = quickPace();
    pace.retryWait = std::chrono::milliseconds(70);
    startSharer(pace);
    ASSERT_TRUE(share(true));
    m_server->setScript({});
    ASSERT_EQ(times.size(), 3U);
    EXPECT_GE(times[1] - times[0], 69);
    EXPECT_GE(times[2] - times[1], 139);
    expectPlaysCurrentEdit();
}

TEST_F(ShareFailure, posterAndReportsThatFailHoldNothingUp)
{
    startAll(1000);
    m_server->setScript([](const Request& request) {
        if (request.path.endsWith("/poster"))
            return Handling{Fault::Status, 500};
        return request.path.endsWith("/progress") ? Handling{Fault::Silent} : Handling();
    });
    ASSERT_TRUE(share(true));
    expectPlaysCurrentEdit();
    EXPECT_FALSE(QFileInfo::exists(m_server->book().posterPath(text("1"))));
}

TEST_F(ShareFailure, destroyingTheSharerAtAnyMomentIsSafe)
{
    startServer(1000);
    configure();
    openTake();
    slow("/api/shares", 15);
    for (const int delay : {0, 5, 20, 40, 70, 100, 140}) {
        startSharer();
        m_sharer->takeOpened(*m_editor->take());
        edit();
        QCoro::Task<Result<QString>> first = m_sharer->share(false);
        QCoro::Task<Result<QString>> waiting = m_sharer->share(true);
        wait(delay);
        m_sharer.reset();
        (void)QCoro::waitFor(first);
        (void)QCoro::waitFor(waiting);
        m_editor->onTakeReady = nullptr;
        ASSERT_TRUE(waitUntil([this] { return !m_editor->exportProgress(); }));
    }
}

} // namespace kelmo
