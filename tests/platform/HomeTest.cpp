#include "platform/Home.h"

#include "tests/support/TemporaryHome.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace kelmo;

TEST(Home, pathFollowsAnAbsoluteHomeOnly)
{
    const TemporaryHome home;
    EXPECT_EQ(Home::path(), home.path());
    EXPECT_EQ(Home::file(QStringLiteral("a/b.txt")), home.path() + QLatin1String("/a/b.txt"));
    for (const char* unusable : {"", "relative/folder"}) {
        qputenv("HOME", unusable);
        EXPECT_TRUE(QDir::isAbsolutePath(Home::path())) << unusable;
        EXPECT_FALSE(Home::path().contains(QLatin1String("relative")));
    }
}

TEST(Home, expandTildeReplacesOnlyALeadingOne)
{
    const TemporaryHome home;
    EXPECT_EQ(Home::expandTilde(QStringLiteral("~")), home.path());
    EXPECT_EQ(Home::expandTilde(QStringLiteral("~/Movies/~x.mov")), home.path() + QLatin1String("/Movies/~x.mov"));
    for (const QString& path : {QStringLiteral("/a/~/b"), QStringLiteral("~other/x"), QString()})
        EXPECT_EQ(Home::expandTilde(path), path);
}
