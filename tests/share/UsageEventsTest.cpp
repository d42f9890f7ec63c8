#include "telemetry/Analytics.h"
#include "telemetry/AnalyticsEndpoint.h"
#include "tests/share/ShareFixture.h"
#include "tests/telemetry/CaptureServer.h"

namespace kelmo {

namespace {

class UsageEvents : public ShareFixture {
protected:
    UsageEvents()
    {
        qunsetenv("KELMO_ANALYTICS");
        Analytics::setEndpointForTests(m_capture.url());
    }
    ~UsageEvents() override
    {
        qputenv("KELMO_ANALYTICS", "0");
        Analytics::setEndpointForTests(QUrl(QStringLiteral("http://127.0.0.1:9/")));
    }

    /// Opens, looks, edits in every way, exports and shares.
    void work()
    {
        startServer();
        configure();
        startSharer();
        std::vector<Word> words = TakeFolder::talk(4);
        words[0].text = QStringLiteral("Zanzibar");
        words[1].text = QStringLiteral("quarterly");
        words[2].text = QStringLiteral("um");
        words[3].text = QStringLiteral("layoffs");
        openTalk(QStringLiteral("hush plan"), 4, words);
        m_editor->setPictureBox({160, 90});
        ASSERT_TRUE(waitUntil([this] { return m_editor->picture() != nullptr; }));
        m_editor->toggleWords({0});
        m_editor->cutFillers();
        m_editor->undo().undo();
        m_editor->undo().redo();
        (void)m_editor->trim(300, 3500, QStringLiteral("Trim"));
        QCoro::Task<Result<ExportResult>> exporting
            = m_editor->exportVideo(Codec::Hevc, std::nullopt, std::nullopt, QStringLiteral("writer"));
        ASSERT_TRUE(QCoro::waitFor(exporting));
        ASSERT_TRUE(share(true));
        // What goes wrong carries names in its sentences.
        m_editor->open(m_takes.movie(QStringLiteral("no such hush")));
        m_server->setScript(
            [](const ShareServer::Request&) { return ShareServer::Handling{ShareServer::Fault::Status}; });
        EXPECT_FALSE(share(true));
    }

    CaptureServer m_capture;
};

} // namespace

TEST_F(UsageEvents, nothingThatWasSaidNamedOrStoredIsEverSent)
{
    work();
    ASSERT_TRUE(waitUntil([this] { return m_capture.bodies.size() >= 8; })) << m_capture.bodies.size();
    wait(100);
    QByteArray all;
    QStringList events;
    for (qsizetype i = 0; i < m_capture.bodies.size(); ++i) {
        all += m_capture.heads[i] + QJsonDocument(m_capture.bodies[i]).toJson();
        events.append(m_capture.bodies[i].value(u"event").toString());
    }
    for (const char* event : {"take_opened", "edit_made", "export_done", "share_uploaded"})
        EXPECT_TRUE(events.contains(QString::fromLatin1(event))) << event;
    const QByteArray lower = all.toLower();
    const QByteArray home = QFile::encodeName(m_home.path()).toLower();
    const QByteArray takes = QFileInfo(m_takes.movie(QStringLiteral("x"))).path().toUtf8().toLower();
    for (const QByteArray& secret : {QByteArray("zanzibar"), QByteArray("quarterly"), QByteArray("layoffs"),
             QByteArray("hush"), QByteArray(".mov"), QByteArray(".mp4"), QByteArray("movies"), home, takes,
             QByteArray("/tmp"), QByteArray("sesame"), QByteArray("/v/1")})
        EXPECT_FALSE(lower.contains(secret)) << secret.constData();

    const qsizetype shared = events.indexOf(QStringLiteral("share_uploaded"));
    ASSERT_GE(shared, 0);
    const QJsonObject properties = m_capture.bodies[shared].value(u"properties").toObject();
    EXPECT_EQ(properties.size(), 5 + 3) << "the common ones and three numbers";
    EXPECT_EQ(properties.value(u"mb").toDouble(-1), 0);
    EXPECT_GE(properties.value(u"plays_after_ms").toDouble(-1), properties.value(u"export_ms").toDouble(-2));
}

TEST_F(UsageEvents, nothingIsSentWhenTheUserSaidNo)
{
    Analytics::setEnabled(false);
    work();
    wait(200);
    EXPECT_EQ(m_capture.connections, 0);
}

} // namespace kelmo
