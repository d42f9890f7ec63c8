#include "telemetry/CrashReports.h"

#include "platform/crash/CrashSource.h"
#include "telemetry/Analytics.h"
#include "telemetry/AnalyticsEndpoint.h"
#include "tests/support/DoomedProcess.h"
#include "tests/support/TemporaryHome.h"
#include "tests/telemetry/CaptureServer.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTimer>

#include <gtest/gtest.h>

#include <csignal>
#include <thread>

using namespace kelmo;

namespace {

const QString diagnostics = QStringLiteral("Library/Application Support/Kelmo/Diagnostics");

class CrashReportsTest : public testing::Test {
protected:
    CrashReportsTest()
    {
        qunsetenv("KELMO_ANALYTICS");
        Analytics::setEndpointForTests(server.url());
    }
    ~CrashReportsTest() override
    {
        qputenv("KELMO_ANALYTICS", "0");
        Analytics::setEndpointForTests(QUrl(QStringLiteral("http://127.0.0.1:9/")));
    }

    [[nodiscard]] QStringList recordsLeft() const
    {
        return QDir(home.path() + QLatin1Char('/') + diagnostics).entryList(QDir::Files);
    }

    /// Starts reporting and waits until no record of an earlier run is left, only that of this one.
    [[nodiscard]] bool reportsAll(CrashReports& reports) const
    {
        reports.start();
        QElapsedTimer timer;
        timer.start();
        const QString own = QString::number(QCoreApplication::applicationPid()) + QLatin1Char('-');
        while (timer.elapsed() < 30'000) {
            const QStringList left = recordsLeft();
            if (left.size() == 1 && left[0].startsWith(own))
                return true;
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        }
        return false;
    }

    /// Lets another process of ours hang, and kills it once it has noted that.
    void hangAndKill() const
    {
        const QStringList before = recordsLeft();
        DoomedProcess process(QStringLiteral("CrashReportsProcess.*"), Doom::Kind::Hang);
        QElapsedTimer timer;
        timer.start();
        bool noted = false;
        while (!noted && timer.elapsed() < 60'000) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            for (const QString& record : recordsLeft())
                noted
                    |= home.read(diagnostics + QLatin1Char('/') + record).endsWith("end\n") && !before.contains(record);
        }
        EXPECT_TRUE(noted);
        process.kill();
    }

    const TemporaryHome home;
    CaptureServer server;
};

Diagnostic plainDiagnostic(const QByteArray& stack)
{
    return {QStringLiteral("1.2"), {QStringLiteral("b7"), QStringLiteral("Some OS"), QStringLiteral("arm64")}, stack};
}

} // namespace

// Not a test of its own: the others run it in another process.
TEST(CrashReportsProcess, DISABLED_meetsItsDoom)
{
    if (!Doom::isUponUs())
        GTEST_SKIP() << "started by the other tests";
    const CrashSource source(QDir::homePath() + QLatin1Char('/') + diagnostics, QStringLiteral("4.5.6"));
    QTimer::singleShot(0, qApp, [] { Doom::meet(); });
    QCoreApplication::exec();
}

TEST_F(CrashReportsTest, startAfterTwoCrashesAndAHangSendsEachOnce)
{
    const QString child = QStringLiteral("CrashReportsProcess.*");
    const bool faults = !Doom::leftToSanitizer(Doom::Kind::NullWrite);
    DoomedProcess first(child, faults ? Doom::Kind::NullWrite : Doom::Kind::Abort);
    EXPECT_EQ(first.waitForSignal(), faults ? SIGSEGV : SIGABRT);
    DoomedProcess second(child, Doom::Kind::Abort);
    EXPECT_EQ(second.waitForSignal(), SIGABRT);
    hangAndKill();
    {
        CrashReports reports;
        ASSERT_TRUE(reportsAll(reports));
        ASSERT_TRUE(server.waitFor(3));
    }
    const QList<QJsonObject> crashes = server.eventsCalled(QStringLiteral("app_crashed"));
    const QList<QJsonObject> hangs = server.eventsCalled(QStringLiteral("app_hung"));
    ASSERT_EQ(crashes.size(), 2);
    ASSERT_EQ(hangs.size(), 1);
    QList<int> signalsSent;
    for (const QJsonObject& crash : crashes) {
        signalsSent.append(crash.value(QLatin1String("signal")).toInt());
        EXPECT_TRUE(crash.contains(QLatin1String("exception_type")));
        EXPECT_TRUE(crash.contains(QLatin1String("exception_code")));
        EXPECT_TRUE(crash.value(QLatin1String("termination_reason")).toString().startsWith(QLatin1String("SIG")));
        const bool isFault = signalsSent.back() == SIGSEGV;
        EXPECT_EQ(crash.contains(QLatin1String("vm_region")), isFault);
        const QString stack = crash.value(QLatin1String("stack")).toString();
        EXPECT_TRUE(stack.contains(isFault ? QLatin1String("writeToNowhere") : QLatin1String("Doom::meet")))
            << stack.toStdString();
    }
    EXPECT_TRUE(signalsSent.contains(SIGABRT));
    EXPECT_EQ(signalsSent.contains(SIGSEGV), faults);
    EXPECT_GE(hangs[0].value(QLatin1String("hang_ms")).toInt(), 5000);
    EXPECT_TRUE(hangs[0].value(QLatin1String("stack")).toString().contains(QLatin1String("hangForEver")));
    for (const QJsonObject& event : crashes + hangs) {
        EXPECT_EQ(event.value(QLatin1String("crashed_version")).toString(), QStringLiteral("4.5.6"));
        EXPECT_EQ(event.value(QLatin1String("crashed_build")).toString().size(), 40);
        EXPECT_EQ(event.value(QLatin1String("os")).toString(), QSysInfo::prettyProductName());
        EXPECT_EQ(event.value(QLatin1String("platform")).toString(), QSysInfo::currentCpuArchitecture());
        const QByteArray text = QJsonDocument(event).toJson();
        EXPECT_FALSE(text.contains(home.path().toUtf8())) << text.constData();
        EXPECT_FALSE(text.contains(QCoreApplication::applicationDirPath().toUtf8())) << text.constData();
    }
    // What has been sent is gone, and so is the record of a run without trouble.
    EXPECT_TRUE(recordsLeft().isEmpty());
}

TEST_F(CrashReportsTest, startWhenDisabledRemovesTheRecordsAndSendsNothing)
{
    DoomedProcess process(QStringLiteral("CrashReportsProcess.*"), Doom::Kind::Abort);
    EXPECT_EQ(process.waitForSignal(), SIGABRT);
    ASSERT_EQ(recordsLeft().size(), 1);
    Analytics::setEnabled(false);
    CrashReports reports;
    EXPECT_TRUE(reportsAll(reports));
    CrashReports::didReceive({{{CrashDiagnostic{plainDiagnostic("{}"), {}, {}, {}, {}, {}}}, {}}});
    server.expectSilence();
}

TEST_F(CrashReportsTest, startOnGarbageAndCutShortRecordsSendsWhatCanBeMadeOut)
{
    const QString folder = diagnostics + QLatin1Char('/');
    home.write(folder + QLatin1String("1-1.record"), QByteArray(5000, '\xff'));
    home.write(folder + QLatin1String("2-1.record"), "");
    home.write(folder + QLatin1String("3-1.record"), "version 1\nbuild x\ncrash\nsig");
    home.write(folder + QLatin1String("4-1.record"), "version 1\nbuild x\ncrash\nsignal 8\nframe 12\nfra");
    CrashReports reports;
    ASSERT_TRUE(reportsAll(reports));
    ASSERT_TRUE(server.waitFor(1));
    server.expectSilence();
    ASSERT_EQ(server.bodies.size(), 1);
    const QJsonObject event = server.eventsCalled(QStringLiteral("app_crashed")).value(0);
    EXPECT_EQ(event.value(QLatin1String("signal")).toInt(), SIGFPE);
    EXPECT_EQ(event.value(QLatin1String("stack")).toString(),
        QStringLiteral(R"({"callStacks":[{"frames":[{"address":"12"}]}],"modules":{}})"));
}

TEST_F(CrashReportsTest, didReceiveSendsWhatADiagnosticHas)
{
    CrashReports::didReceive({});
    const QByteArray longStack = QByteArray("[") + QByteArray(49'998, 'x') + QByteArray("]");
    const CrashDiagnostic full{
        plainDiagnostic(longStack), 1, 2, 11, QStringLiteral("reason"), QStringLiteral("region")};
    const CrashDiagnostic bare{plainDiagnostic("not\xff text"), {}, {}, {}, {}, {}};
    const HangDiagnostic hang{plainDiagnostic(QByteArray("é").repeated(20'000)), std::chrono::milliseconds(6250)};
    CrashReports::didReceive({{{full, bare}, {hang}}});
    ASSERT_TRUE(server.waitFor(3));

    QList<QJsonObject> crashes = server.eventsCalled(QStringLiteral("app_crashed"));
    ASSERT_EQ(crashes.size(), 2);
    std::sort(crashes.begin(), crashes.end(), [](const auto& a, const auto& b) { return a.size() > b.size(); });
    EXPECT_EQ(crashes[0].value(QLatin1String("stack")).toString(), QString::fromLatin1(longStack.left(12'000)));
    QJsonObject common{{QStringLiteral("crashed_version"), QStringLiteral("1.2")},
        {QStringLiteral("crashed_build"), QStringLiteral("b7")}, {QStringLiteral("os"), QStringLiteral("Some OS")},
        {QStringLiteral("platform"), QStringLiteral("arm64")}};
    for (QJsonObject& crash : crashes) {
        crash.remove(QStringLiteral("stack"));
        for (const char* name : {"$lib", "app", "app_version", "os_version", "distinct_id"})
            crash.remove(QLatin1String(name));
    }
    EXPECT_EQ(crashes[1], common);
    common.insert(QStringLiteral("exception_type"), 1);
    common.insert(QStringLiteral("exception_code"), 2);
    common.insert(QStringLiteral("signal"), 11);
    common.insert(QStringLiteral("termination_reason"), QStringLiteral("reason"));
    common.insert(QStringLiteral("vm_region"), QStringLiteral("region"));
    EXPECT_EQ(crashes[0], common);
    const QJsonObject hung = server.eventsCalled(QStringLiteral("app_hung")).value(0);
    EXPECT_EQ(hung.value(QLatin1String("hang_ms")).toInt(), 6250);
    EXPECT_EQ(hung.value(QLatin1String("stack")).toString(), QString(12'000, QChar(0xe9)));
}
