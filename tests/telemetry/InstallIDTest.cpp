#include "telemetry/InstallID.h"

#include "tests/support/TemporaryHome.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace kelmo;

TEST(InstallID, loadOrCreateKeepsAnIdentifierAndReplacesABlankOne)
{
    const TemporaryHome home;
    const QString path = home.path() + QLatin1String("/new/folder/install-id");
    const QString created = InstallID::loadOrCreate(path);
    const QRegularExpression uuid(
        QStringLiteral("^[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}$"));
    EXPECT_TRUE(uuid.match(created).hasMatch()) << created.toStdString();
    EXPECT_EQ(home.read(QStringLiteral("new/folder/install-id")), created.toUtf8());
    EXPECT_EQ(InstallID::loadOrCreate(path), created);

    home.write(QStringLiteral("mine"), " my-own-id\n");
    EXPECT_EQ(InstallID::loadOrCreate(home.file(QStringLiteral("mine"))), QStringLiteral("my-own-id"));

    home.write(QStringLiteral("blank"), "\n");
    const QString replaced = InstallID::loadOrCreate(home.file(QStringLiteral("blank")));
    EXPECT_TRUE(uuid.match(replaced).hasMatch());
    EXPECT_NE(replaced, created);
    EXPECT_EQ(InstallID::loadOrCreate(home.file(QStringLiteral("blank"))), replaced);
}

TEST(InstallID, unwritablePlaceStillGivesAnIdentifier)
{
    const TemporaryHome home;
    home.write(QStringLiteral("file"), "x");
    EXPECT_EQ(InstallID::loadOrCreate(home.path() + QLatin1String("/file/install-id")).size(), 36);
}
