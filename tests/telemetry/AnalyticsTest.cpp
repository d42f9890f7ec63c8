#include "telemetry/Analytics.h"

#include "telemetry/AnalyticsEndpoint.h"
#include "tests/support/TemporaryHome.h"
#include "tests/telemetry/CaptureServer.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

#include <cmath>
#include <thread>

using namespace kelmo;

namespace {

class AnalyticsTest : public testing::Test {
protected:
    AnalyticsTest() { qunsetenv("KELMO_ANALYTICS"); }
    ~AnalyticsTest() override
    {
        qputenv("KELMO_ANALYTICS", "0");
        Analytics::setEndpointForTests(QUrl(QStringLiteral("http://127.0.0.1:9/")));
    }

    const QString settings = QStringLiteral("Library/Application Support/Kelmo/analytics.json");
    TemporaryHome home;
    CaptureServer server;
};

} // namespace

TEST_F(AnalyticsTest, captureSendsOneCompleteEvent)
{
    const QUrl production = Analytics::endpoint();
    EXPECT_EQ(production.scheme(), QStringLiteral("https"));
    EXPECT_EQ(production.path(), QStringLiteral("/i/v0/e/"));
    Analytics::setEndpointForTests(server.url());
    Analytics::capture(QStringLiteral("export_done"),
        {{QStringLiteral("codec"), QStringLiteral("hevc")}, {QStringLiteral("elapsed_ms"), 1234},
            {QStringLiteral("app_version"), QStringLiteral("mine")}});
    ASSERT_TRUE(server.waitFor(1));

    const QString head = QString::fromLatin1(server.heads[0]).toLower();
    EXPECT_TRUE(head.startsWith(QLatin1String("post /i/v0/e/ http/1.1"))) << head.toStdString();
    EXPECT_TRUE(head.contains(QLatin1String("content-type: application/json")));
    EXPECT_TRUE(head.contains(QStringLiteral("host: ") % server.url().authority())) << head.toStdString();
    const QJsonObject body = server.bodies[0];
    EXPECT_EQ(body.keys(),
        (QStringList{QStringLiteral("api_key"), QStringLiteral("event"), QStringLiteral("properties"),
            QStringLiteral("timestamp")}));
    EXPECT_EQ(body.value(QLatin1String("api_key")).toString().size(), 48);
    EXPECT_EQ(body.value(QLatin1String("event")).toString(), QStringLiteral("export_done"));
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ$"))
                    .match(body.value(QLatin1String("timestamp")).toString())
                    .hasMatch());
    const QJsonObject expected{{QStringLiteral("$lib"), QStringLiteral("kelmo-mac")},
        {QStringLiteral("app"), QStringLiteral("editor")}, {QStringLiteral("app_version"), QStringLiteral("mine")},
        {QStringLiteral("os_version"), QSysInfo::prettyProductName()},
        {QStringLiteral("codec"), QStringLiteral("hevc")}, {QStringLiteral("elapsed_ms"), 1234},
        {QStringLiteral("distinct_id"), Analytics::distinctID()}};
    EXPECT_EQ(body.value(QLatin1String("properties")).toObject(), expected);
}

TEST_F(AnalyticsTest, captureFromSeveralThreadsSendsEveryEventUnderOneIdentifier)
{
    Analytics::setEndpointForTests(server.url());
    std::vector<std::thread> running;
    for (int i = 0; i < 4; ++i)
        running.emplace_back([] {
            for (int event = 0; event < 5; ++event)
                Analytics::capture(QStringLiteral("edit_made"));
        });
    for (std::thread& thread : running)
        thread.join();
    ASSERT_TRUE(server.waitFor(20));
    for (const QJsonObject& body : server.bodies)
        EXPECT_EQ(body.value(QLatin1String("properties")).toObject().value(QLatin1String("distinct_id")).toString(),
            Analytics::distinctID());
}

TEST_F(AnalyticsTest, captureWhenDisabledMakesNoRequest)
{
    Analytics::setEndpointForTests(server.url());
    qputenv("KELMO_ANALYTICS", "0");
    Analytics::setEnabled(true);
    EXPECT_TRUE(Analytics::userEnabled());
    EXPECT_FALSE(Analytics::enabled());
    Analytics::capture(QStringLiteral("edit_made"));
    qunsetenv("KELMO_ANALYTICS");
    Analytics::setEnabled(false);
    EXPECT_EQ(home.read(settings), R"({"enabled":false})");
    EXPECT_FALSE(Analytics::enabled());
    Analytics::capture(QStringLiteral("edit_made"));
    server.expectSilence();
}

TEST_F(AnalyticsTest, captureOfANumberThatIsNotFiniteDropsTheEvent)
{
    Analytics::setEndpointForTests(server.url());
    for (const double value : {std::nan(""), std::numeric_limits<double>::infinity()})
        Analytics::capture(QStringLiteral("edit_made"), {{QStringLiteral("ms"), value}});
    server.expectSilence();
}

TEST_F(AnalyticsTest, userEnabledNeedsABooleanToSayNo)
{
    EXPECT_TRUE(Analytics::userEnabled());
    for (const char* text :
        {"", "nonsense", "[]", "{}", R"({"enabled":0})", R"({"enabled":"false"})", R"({"enabled":true})"}) {
        home.write(settings, text);
        EXPECT_TRUE(Analytics::userEnabled()) << text;
    }
    home.write(settings, R"({"enabled": false, "more": 1})");
    EXPECT_FALSE(Analytics::userEnabled());
    qputenv("KELMO_ANALYTICS", "1");
    EXPECT_FALSE(Analytics::enabled());
}
