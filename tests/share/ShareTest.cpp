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

    EXPECT_EQ(m_sharer->lastError(), std::nullopt);
    EXPECT_EQ(m_sharer->progress(), std::nullopt);
    EXPECT_EQ(m_sharer->uploadingSignature(), std::nullopt);
    EXPECT_FALSE(m_sharer->isOutOfDate());
    EXPECT_EQ(recordFile().value(u"signature").toString(), signature());
    const std::optional<ShareBook::Share> filled = m_server->book().share(text("1"));
    ASSERT_TRUE(filled && filled->plays);
    EXPECT_EQ(filled->title, text("talk"));
    EXPECT_NEAR(filled->durationMs, m_editor->timeline().durationMs, 1e-6);
    EXPECT_FALSE(newestExport().isEmpty());
    EXPECT_EQ(video(text("1")), newestExport());
    EXPECT_GT(m_server->count("PUT", "/api/shares/1/parts/"), 2);
    EXPECT_LE(m_server->mostPartsAtOnce(), 4);
    const QImage poster(m_server->book().posterPath(text("1")));
    EXPECT_EQ(poster.size(), QSize(160, 90));
    EXPECT_EQ(m_server->book().violations(), QStringList());
    EXPECT_TRUE(m_phases.contains(text("Creating link…")));
    EXPECT_TRUE(m_phases.contains(text("Uploading 0%"))) << qPrintable(m_phases.join(u'|'));
    EXPECT_TRUE(m_phases.contains(text("Uploading 100%")));
    EXPECT_EQ(m_phases.last(), QString());
    EXPECT_TRUE(m_editor->status().value_or(QString()).startsWith(text("Shared — link plays now (")));
}

} // namespace kelmo
