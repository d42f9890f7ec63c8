#include "app/CommandLine.h"

#include <gtest/gtest.h>

namespace kelmo {

namespace {

quint16 portOf(const QStringList& arguments, const QString& environment = {})
{
    QProcessEnvironment variables;
    if (!environment.isNull())
        variables.insert(QStringLiteral("KELMO_EDITOR_PORT"), environment);
    return CommandLine::parse(arguments, variables).port;
}

} // namespace

TEST(CommandLine, parsePortSwitchWinsOverEnvironmentAndNonsenseFallsBack)
{
    const QString port = QStringLiteral("--port");
    EXPECT_EQ(portOf({}), 7799);
    EXPECT_EQ(portOf({port, QStringLiteral("8123")}, QStringLiteral("9000")), 8123);
    EXPECT_EQ(portOf({port, QStringLiteral("abc")}, QStringLiteral("9000")), 9000);
    EXPECT_EQ(portOf({port, QString()}, QStringLiteral("9000")), 9000);
    EXPECT_EQ(portOf({port}, QStringLiteral("9000")), 9000);
    EXPECT_EQ(portOf({port, QStringLiteral("70000")}), 7799);
    EXPECT_EQ(portOf({port, QStringLiteral("-1")}), 7799);
    EXPECT_EQ(portOf({port, QStringLiteral("+80")}), 7799);
    EXPECT_EQ(portOf({}, QStringLiteral("abc")), 7799);
    EXPECT_EQ(portOf({}, QStringLiteral("70000")), 7799);
    EXPECT_EQ(portOf({}, QStringLiteral("8123")), 8123);
}

TEST(CommandLine, parseTakeWithoutAPathIsNone)
{
    const QString take = QStringLiteral("--take");
    EXPECT_EQ(CommandLine::parse({take}, {}).take, std::nullopt);
    EXPECT_EQ(CommandLine::parse({take, QStringLiteral("a b.mov")}, {}).take, QStringLiteral("a b.mov"));
    EXPECT_TRUE(CommandLine::parse({QStringLiteral("--background"), QStringLiteral("--muted")}, {}).background);
    EXPECT_FALSE(CommandLine::parse({QStringLiteral("--Background")}, {}).background);
}

} // namespace kelmo
