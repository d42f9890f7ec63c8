#include "tests/share/ShareFixture.h"

#include <QImage>

namespace kelmo {

namespace {

using Share = ShareFixture;

QString text(const char* utf8) { return QString::fromUtf8(utf8); }

} // namespace

TEST_F(Share, firstShareGivesALinkAtOnceAndFillsItBehind)
{
    startAll(1000);
    edit();
    const Result<QString> url = share(false);
    ASSERT_TRUE(url) << qPrintable(userText(url.error()));
    EXPECT_EQ(*url, QString(m_server->endpoint() % text("/v/1")));
    EXPECT_EQ(clipboard(), *url);
    EXPECT_TRUE(m_sharer->isUploading());
    EXPECT_EQ(m_sharer->uploadingSignature(), signature());
    EXPECT_EQ(recordFile(), (QJsonObject{{text("id"), text("1")}, {text("url"), *url}, {text("signature"), text("")}}));
    EXPECT_TRUE(m_sharer->isOutOfDate());
    ASSERT_TRUE(waitUntilIdle());

    expectPlaysCurrentEdit();
    EXPECT_EQ(m_sharer->progress(), std::nullopt);
    EXPECT_EQ(m_sharer->uploadingSignature(), std::nullopt);
    EXPECT_FALSE(m_sharer->isOutOfDate());
    EXPECT_EQ(recordFile().value(u"signature").toString(), signature());
    EXPECT_EQ(m_server->book().share(text("1"))->title, text("talk"));
    EXPECT_GT(m_server->count("PUT", "/api/shares/1/parts/"), 2);
    EXPECT_LE(m_server->maxPartsAtOnce(), 4);
    EXPECT_EQ(QImage(m_server->book().posterPath(text("1"))).size(), QSize(160, 90));
    EXPECT_TRUE(m_phases.contains(text("Creating link…")));
    EXPECT_TRUE(m_phases.contains(text("Uploading 0%"))) << qPrintable(m_phases.join(u'|'));
    EXPECT_TRUE(m_phases.contains(text("Uploading 100%")));
    EXPECT_EQ(m_phases.last(), QString());
    EXPECT_TRUE(m_editor->status().value_or(QString()).startsWith(text("Shared — link plays now (")));
    EXPECT_EQ(loggedLike(text("share"), text("link created in \\d+ ms: .*/v/1")).size(), 1);
    EXPECT_EQ(loggedLike(
                  text("timing"), text("share 1: 0 MB, export \\d+ ms, upload \\d+ ms, link plays \\d+ ms after Share"))
                  .size(),
        1);
    edit();
    EXPECT_TRUE(m_sharer->isOutOfDate());
}

TEST_F(Share, sharingASharedTakeUpdatesTheSameLinkBehind)
{
    startAll();
    const Result<QString> first = share(true);
    ASSERT_TRUE(first);
    edit();
    m_editor->setStatus(std::nullopt);
    slow("/versions", 100);
    const Result<QString> again = share(false);
    EXPECT_EQ(again, first);
    EXPECT_TRUE(m_sharer->starting());
    EXPECT_EQ(m_editor->status(), QString(text("Link copied — ") % *first));
    ASSERT_TRUE(waitUntilIdle());
    expectPlaysCurrentEdit();
    EXPECT_EQ(m_server->book().share(text("1"))->version, 2);
    EXPECT_TRUE(m_phases.contains(text("Updating…")));
    EXPECT_EQ(loggedLike(text("share"), text("link copied instantly \\(update\\): .*/v/1")).size(), 1);
    EXPECT_EQ(loggedLike(text("share"), text("link updating in \\d+ ms: .*/v/1")).size(), 1);
}

TEST_F(Share, pressingTwiceCopiesTheSameLinkAndUploadsANewerEditOnce)
{
    startAll();
    ASSERT_TRUE(share(true));
    slow("/parts/", 150);
    edit();
    ASSERT_TRUE(share(false));
    ASSERT_TRUE(waitUntil([this] { return m_sharer->isUploading(); }));
    ASSERT_TRUE(share(false)); // Carries this edit already,
    EXPECT_FALSE(m_sharer->starting());
    edit();
    ASSERT_TRUE(share(false)); // and this one not.
    ASSERT_TRUE(share(false));
    ASSERT_TRUE(waitUntil([this] { return m_server->book().share(text("1"))->version == 3; }));
    ASSERT_TRUE(waitUntilIdle());
    expectPlaysCurrentEdit();
    wait(50);
    EXPECT_TRUE(waitUntilIdle());
    EXPECT_EQ(m_server->book().share(text("1"))->version, 3);
    EXPECT_EQ(m_server->book().count(), 1);
}

TEST_F(Share, pressingTwiceBeforeTheServerAnsweredUploadsOnce)
{
    startAll();
    ASSERT_TRUE(share(true));
    slow("/versions", 200);
    edit();
    ASSERT_TRUE(share(false));
    EXPECT_TRUE(m_sharer->starting());
    edit();
    ASSERT_TRUE(share(false));
    ASSERT_TRUE(waitUntil([this] { return m_sharer->isUploading(); }));
    ASSERT_TRUE(waitUntilIdle());
    wait(50);
    ASSERT_TRUE(waitUntilIdle());
    // The export began after the second press and carries its edit.
    EXPECT_EQ(m_server->book().share(text("1"))->version, 2);
    EXPECT_EQ(m_sharer->record()->signature, signature());
}

TEST_F(Share, twoSharesOfANewTakeAtOnceMakeOneLink)
{
    startAll();
    slow("/api/shares", 30);
    QCoro::Task<Result<QString>> first = m_sharer->share(false);
    QCoro::Task<Result<QString>> second = m_sharer->share(false);
    QCoro::Task<Result<QString>> third = m_sharer->share(true);
    const Result<QString> url = QCoro::waitFor(third);
    ASSERT_TRUE(url);
    EXPECT_EQ(QCoro::waitFor(first), url);
    EXPECT_EQ(QCoro::waitFor(second), url);
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_EQ(m_server->book().count(), 1);
    EXPECT_EQ(m_server->count("POST", "/api/shares/1/versions"), 0);
    expectPlaysCurrentEdit();
}

TEST_F(Share, waitingShareJoinsTheUploadUnderWayOrAboutToBegin)
{
    startAll();
    ASSERT_TRUE(share(true));
    slow("/api/shares", 60);
    edit();
    const Result<QString> url = share(false);
    ASSERT_TRUE(m_sharer->starting());
    EXPECT_EQ(share(true), url); // About to begin,
    EXPECT_TRUE(m_server->book().share(text("1"))->plays);
    EXPECT_EQ(m_server->book().share(text("1"))->version, 2);
    edit();
    ASSERT_TRUE(share(false));
    ASSERT_TRUE(waitUntil([this] { return m_sharer->isUploading(); }));
    EXPECT_EQ(share(true), url); // under way.
    EXPECT_EQ(m_server->book().share(text("1"))->version, 3);
    ASSERT_TRUE(waitUntilIdle());
    expectPlaysCurrentEdit();
}

TEST_F(Share, reportsArriveInOrderAndNoneAfterTheCompletion)
{
    startServer(1000);
    configure();
    startSharer();
    openTake(text("talk"), 400);
    ASSERT_TRUE(share(true));
    const QList<QJsonObject> reports = m_server->book().share(text("1"))->reports;
    ASSERT_GE(reports.size(), 3);
    int stage = 0;
    double last = -1;
    for (const QJsonObject& report : reports) {
        const int now = report.value(u"status").toString() == text("uploading") ? 1 : 0;
        ASSERT_GE(now, stage) << "preparing comes first";
        if (now != stage)
            last = -1;
        stage = now;
        EXPECT_GE(report.value(u"progress").toDouble(), last);
        last = report.value(u"progress").toDouble();
    }
    EXPECT_EQ(stage, 1);
    EXPECT_EQ(last, 1);
    EXPECT_EQ(m_server->requests().back().path, "/api/shares/1/complete");
    EXPECT_EQ(m_phases.filter(text("Preparing ")).isEmpty(), false) << qPrintable(m_phases.join(u'|'));
    expectPlaysCurrentEdit();
}

TEST_F(Share, qualityDecidesTheHeight)
{
    startServer();
    startSharer();
    openTake();
    for (const char* quality : {"native", "1080p", "whatever"}) {
        m_sharer->setConfig(Sharer::Config{m_server->endpoint(), m_token, false, text(quality)});
        ASSERT_TRUE(share(true)) << quality;
    }
    EXPECT_EQ(loggedLike(text("timing"), text("export H\\.264 native30 \\[writer\\].*")).size(), 1);
    EXPECT_EQ(loggedLike(text("timing"), text("export H\\.264 1080p30 \\[writer\\].*")).size(), 2);
}

} // namespace kelmo
