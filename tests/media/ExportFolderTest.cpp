#include "media/ExportFolder.h"

#include "media/stack/encode/PartFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace kelmo;

TEST(ExportFolder, freePathOfALongNameIsShortenedBetweenCharacters)
{
    const QTemporaryDir folder;
    const QString family = QString::fromUtf8("👩‍👩‍👧");
    const QString accented = QStringLiteral("e\u0301"); // Two code points.
    const struct {
        const char* what;
        QString character;
        int count;
        bool isWhole;
    } cases[] = {
        {"short", QStringLiteral("talk"), 1, true},
        {"plain", QStringLiteral("x"), 251, false},
        {"Chinese", QString::fromUtf8("字"), 75, false},
        {"beyond the first plane", QString::fromUtf8("𠀀"), 62, false},
        {"joined", family, 13, false},
        {"accented", accented, 83, false},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        const QString base = each.character.repeated(each.count);
        QString first;
        for (int i = 0; i < 3; ++i) {
            const QString path = ExportFolder::freePath(folder.path(), base, Codec::H264);
            EXPECT_FALSE(QFile::exists(path));
            const QString name = QFileInfo(path).fileName();
            const qsizetype length = name.indexOf(QStringLiteral("-h264-"));
            ASSERT_GT(length, 0);
            EXPECT_EQ(length % each.character.size(), 0);
            EXPECT_EQ(name.left(length), base.left(length));
            EXPECT_EQ(length == base.size(), each.isWhole);
            EXPECT_TRUE(name.endsWith(QStringLiteral(".mp4")));
            const Result<std::unique_ptr<PartFile>> part = PartFile::create(path);
            ASSERT_TRUE(part) << qPrintable(userText(part.error()));
            ASSERT_TRUE((*part)->takeFinalName());
        }
    }
}

TEST(ExportFolder, freePathUsesTheRoomThatThereIs)
{
    const QTemporaryDir folder;
    const QString path = ExportFolder::freePath(folder.path(), QString(251, u'x'), Codec::Hevc);
    EXPECT_EQ(QFileInfo(PartFile::pathFor(path)).fileName().size(), 255);
}
