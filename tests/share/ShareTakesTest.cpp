#include "tests/share/ShareFixture.h"

namespace kelmo {

namespace {

using ShareTakes = ShareFixture;

QString text(const char* utf8) { return QString::fromUtf8(utf8); }

} // namespace

TEST_F(ShareTakes, takeOpenedMeanwhileGetsItsOwnLinkAndTheFirstIsFilledWithItsOwnEdit)
{
    startAll(1000);
    slow("/parts/", 40);
    ASSERT_TRUE(share(false));
    ASSERT_TRUE(waitUntil([this] { return m_server->count("PUT", "/api/shares/1/parts/") > 0; }));
    const QByteArray talk = newestExport();
    openTake(text("other"), 3);
    EXPECT_EQ(m_sharer->record(), std::nullopt);
    edit();
    const Result<QString> other = share(true);
    EXPECT_EQ(other, QString(m_server->endpoint() % text("/v/2")));
    ASSERT_TRUE(waitUntilIdle());
    expectPlaysCurrentEdit(text("2"));
    EXPECT_EQ(m_server->book().share(text("1"))->title, text("talk"));
    EXPECT_EQ(video(text("1")), talk);
    EXPECT_EQ(recordFile(text("talk")).value(u"id").toString(), text("1"));
    EXPECT_EQ(recordFile(text("other")).value(u"signature").toString(), signature());
    EXPECT_LE(m_server->maxPartsAtOnce(), 4);
}

TEST_F(ShareTakes, takeOpenedMeanwhileIsNotSharedForWhatWasAskedOfTheFirst)
{
    startAll();
    slow("/parts/", 100);
    ASSERT_TRUE(share(false));
    edit();
    ASSERT_TRUE(share(false)); // A newer edit of this take was asked for,
    openTake(text("other"));
    edit();
    ASSERT_TRUE(waitUntilIdle());
    wait(50);
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_EQ(m_server->book().count(), 1); // and none of that one.
    EXPECT_TRUE(recordFile(text("other")).isEmpty());
    EXPECT_TRUE(m_server->book().share(text("1"))->plays);
}

TEST_F(ShareTakes, takeOpenedWhileTheLinkIsMadeIsNeverUploadedToIt)
{
    startAll();
    slow("/api/shares", 300);
    QCoro::Task<Result<QString>> sharing = m_sharer->share(false);
    ASSERT_TRUE(waitUntil([this] { return m_server->requests().size() == 1; }));
    openTake(text("other"));
    ASSERT_TRUE(QCoro::waitFor(sharing));
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_EQ(m_sharer->record(), std::nullopt);
    EXPECT_EQ(m_sharer->lastError(), text("Another take was opened before the export began"));
    EXPECT_EQ(recordFile(text("talk")).value(u"id").toString(), text("1"));
    EXPECT_TRUE(recordFile(text("other")).isEmpty());
    EXPECT_FALSE(m_server->book().share(text("1"))->plays);
    EXPECT_EQ(m_server->book().share(text("1"))->status, text("failed"));
}

TEST_F(ShareTakes, takeOpenedWhileAnUpdateOfAnotherBeginsIsUpdatedWhenAsked)
{
    startAll();
    ASSERT_TRUE(share(true));
    openTake(text("other"));
    ASSERT_TRUE(share(true));
    openTake();
    edit();
    slow("/api/shares/1/versions", 1000);
    ASSERT_TRUE(share(false));
    openTake(text("other"));
    edit();
    EXPECT_EQ(share(false), m_sharer->record()->url);
    ASSERT_TRUE(waitUntil([this] { return m_server->count("POST", "/api/shares/2/complete") == 2; }));
    ASSERT_TRUE(waitUntilIdle());
    expectPlaysCurrentEdit(text("2"));
}

TEST_F(ShareTakes, takeWithALongNameGetsALinkThatPlays)
{
    startAll();
    openTake(QString(75, QChar(0x5b57)));
    ASSERT_TRUE(share(true));
    expectPlaysCurrentEdit();
    EXPECT_EQ(m_server->book().share(text("1"))->title, m_editor->take()->base);
}

TEST_F(ShareTakes, trimBeingDraggedIsSharedAsItWas)
{
    startAll();
    EXPECT_EQ(m_editor->trim(500, 1500, text("Trim")), std::nullopt);
    const double trimmedMs = m_editor->timeline().durationMs;
    m_editor->beginTrimPreview();
    ASSERT_GT(m_editor->timeline().durationMs, trimmedMs);
    ASSERT_TRUE(share(true));
    EXPECT_EQ(m_server->book().share(text("1"))->durationMs, trimmedMs);
    EXPECT_EQ(loggedLike(text("timing"), text("export H\\.264 .* 1\\.0 s of output .*")).size(), 1);
}

} // namespace kelmo
