#include "tests/app/WindowFixture.h"
#include "tests/fakes/ShareServer.h"

#include <QAbstractButton>
#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>

namespace kelmo {

namespace {

/// Stands in for the recorder, which owns these links.
class Recorder : public QObject {
    Q_OBJECT

public:
    Recorder() { QDesktopServices::setUrlHandler(QStringLiteral("kelmo-recorder"), this, "open"); }
    ~Recorder() override { QDesktopServices::unsetUrlHandler(QStringLiteral("kelmo-recorder")); }

    QList<QUrl> asked;

public Q_SLOTS:
    void open(const QUrl& url) { asked.append(url); }
};

/// What installing the recorder puts into the user's folders.
void installRecorder(const TemporaryHome& home)
{
    home.write(QStringLiteral(".local/share/applications/recorder.desktop"),
        "[Desktop Entry]\nMimeType=x-scheme-handler/kelmo-recorder;\n");
}

class LinkBarInWindow : public WindowFixture {
protected:
    LinkBarInWindow()
    {
        qputenv("KELMO_NO_KEYCHAIN", "1");
        qunsetenv("KELMO_NO_AUTOSHARE");
    }

    void launchWithServer()
    {
        ShareServer::Options options;
        options.folder = m_home.path() % QStringLiteral("/server");
        options.publicUrl = QStringLiteral("https://share.example");
        m_server = std::make_unique<ShareServer>(options);
        Sharer::save({m_server->endpoint(), QString::fromUtf8(options.token), false, QStringLiteral("native")});
        launch();
    }

    [[nodiscard]] bool says(const QString& label)
    {
        return waitUntil([&] { return findButton(label) != nullptr; });
    }
    [[nodiscard]] QAbstractButton* findButton(const QString& label)
    {
        for (auto* button : window().findChildren<QAbstractButton*>()) {
            if (button->isVisible() && button->text() == label)
                return button;
        }
        return nullptr;
    }

    std::unique_ptr<ShareServer> m_server;
};

} // namespace

TEST_F(LinkBarInWindow, withoutAServerItAsksToSignIn)
{
    Recorder recorder;
    installRecorder(m_home);
    launch();
    EXPECT_NE(control(QStringLiteral("Sign in to get a link for every take")), nullptr);
    QAbstractButton* signIn = button(QStringLiteral("Sign in"));
    EXPECT_EQ(signIn->toolTip(), QStringLiteral("Sign in once and every take gets a link"));
    click(signIn);
    EXPECT_EQ(recorder.asked, QList<QUrl>{QUrl(QStringLiteral("kelmo-recorder://signin"))});
    EXPECT_NE(control(QStringLiteral("Sign in in the recorder, then come back here")), nullptr);
}

TEST_F(LinkBarInWindow, signedOutTheWindowSaysWhatIsMissingUntilItIsThere)
{
    Recorder recorder;
    launch();
    const Sharer::Config config{
        QStringLiteral("https://share.example"), QStringLiteral("token"), false, QStringLiteral("1080p")};
    click(QStringLiteral("Sign in"));
    EXPECT_TRUE(recorder.asked.isEmpty());
    EXPECT_NE(control(QStringLiteral("Signing in needs the recorder, which is not installed here")), nullptr);
    EXPECT_EQ(editor().statusKind(), Editor::StatusKind::Problem);
    m_app->sharer().setConfig(config);
    EXPECT_FALSE(editor().status()) << "there is something to share with now";

    m_app->sharer().setConfig(std::nullopt);
    key(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
    const QString missing = QStringLiteral("Sign in to share: press Sign in at the bottom right");
    ASSERT_TRUE(waitUntil([&] { return editor().status() == missing; }));
    EXPECT_EQ(editor().statusKind(), Editor::StatusKind::Problem);
    m_app->sharer().setConfig(config);
    EXPECT_FALSE(editor().status());
}

TEST_F(LinkBarInWindow, failureOfAShareIsOverWithTheNextOne)
{
    launchWithServer();
    const Sharer::Config works = *m_app->sharer().config();
    Sharer::Config away = works;
    away.endpoint = QStringLiteral("http://127.0.0.1:9"); // Where nothing listens.
    m_app->sharer().setConfig(away);
    click(QStringLiteral("Share"));
    ASSERT_TRUE(waitUntil([this] { return m_app->sharer().lastError().has_value(); }));
    EXPECT_EQ(editor().status(), m_app->sharer().lastError());
    m_app->sharer().setConfig(works);
    const QString failed = *editor().status();
    click(QStringLiteral("Share"));
    ASSERT_TRUE(waitUntil([this] { return m_app->sharer().record().has_value(); }));
    EXPECT_NE(editor().status(), failed);
}

TEST_F(LinkBarInWindow, buttonFollowsTheLinkFromNoneToCopiedAndOutOfDate)
{
    launchWithServer();
    EXPECT_NE(control(QStringLiteral("No link yet")), nullptr);
    click(QStringLiteral("Share"));
    ASSERT_TRUE(says(QStringLiteral("Copy link")));
    const QString url = QApplication::clipboard()->text();
    ASSERT_TRUE(url.startsWith(QStringLiteral("https://share.example/"))) << qPrintable(url);
    EXPECT_NE(control(url.mid(8)), nullptr) << "the link without its scheme";

    QApplication::clipboard()->clear();
    for (int i = 0; i < 2; ++i) {
        QAbstractButton* copy = findButton(i == 0 ? QStringLiteral("Copy link") : QStringLiteral("Copied ✓"));
        ASSERT_NE(copy, nullptr);
        click(copy);
        EXPECT_EQ(QApplication::clipboard()->text(), url);
        QApplication::clipboard()->clear();
    }
    ASSERT_TRUE(says(QStringLiteral("Copy link"))) << "after a moment";

    ASSERT_TRUE(waitUntil([this] { return m_server->count("POST", "/api/shares/") > 0; }));
    ASSERT_TRUE(waitUntil([this] { return !editor().exportProgress(); }));
    editor().cutFillers();
    ASSERT_TRUE(says(QStringLiteral("Update link")));
    key(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_TRUE(waitUntil([&] { return QApplication::clipboard()->text() == url; }))
        << "the key does what the button would";
    EXPECT_TRUE(says(QStringLiteral("Copy link"))) << "on its way with the current edit";
}

TEST_F(LinkBarInWindow, anotherTakeDuringAnUploadWaitsForItsLink)
{
    launchWithServer();
    m_takes.makeMovie(QStringLiteral("other"), 2);
    m_server->setScript([](const ShareServer::Request& request) {
        ShareServer::Handling handling;
        if (request.method == "PUT") {
            handling.fault = ShareServer::Fault::Slow;
            handling.delay = std::chrono::seconds(2);
        }
        return handling;
    });
    click(QStringLiteral("Share"));
    ASSERT_TRUE(says(QStringLiteral("Copy link")));
    editor().open(m_takes.movie(QStringLiteral("other")));
    EXPECT_TRUE(says(QStringLiteral("Creating…")));
    EXPECT_NE(control(QStringLiteral("Creating link…")), nullptr);
    EXPECT_TRUE(says(QStringLiteral("Share"))) << "once the upload of the first is done";
}

TEST_F(LinkBarInWindow, takeThatDoesNotLoadIsNotShared)
{
    launchWithServer();
    for (const auto& [file, content] : {std::pair("bad.mov", "no movie"),
             std::pair("bad_share.json", R"({"id":"1","url":"https://share.example/1","signature":"1-2"})")}) {
        QFile written(m_takes.file(QString::fromLatin1(file)));
        ASSERT_TRUE(written.open(QIODevice::WriteOnly));
        written.write(content);
    }
    editor().open(m_takes.movie(QStringLiteral("bad")));
    QAbstractButton* update = findButton(QStringLiteral("Update link"));
    ASSERT_NE(update, nullptr);
    EXPECT_FALSE(update->isEnabled());
    EXPECT_EQ(update->toolTip(), QStringLiteral("The take has yet to load"));
}

TEST_F(LinkBarInWindow, failedShareIsToldUntilItIsDismissed)
{
    launchWithServer();
    m_server->setScript([](const ShareServer::Request&) {
        ShareServer::Handling handling;
        handling.fault = ShareServer::Fault::Status;
        return handling;
    });
    click(QStringLiteral("Share"));
    ASSERT_TRUE(waitUntil([this] { return editor().statusKind() == Editor::StatusKind::Problem; }));
    EXPECT_NE(control(editor().status().value()), nullptr);
    click(QStringLiteral("Dismiss"));
    EXPECT_FALSE(editor().status());
}

} // namespace kelmo

#include "LinkBarTest.moc"
