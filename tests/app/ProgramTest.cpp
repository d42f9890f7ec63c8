#include "tests/editor/TakeFolder.h"
#include "tests/platform/PrivateBus.h"
#include "tests/support/TemporaryHome.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTcpServer>
#include <QTest>

#include <gtest/gtest.h>

#include <csignal>

namespace kelmo {

namespace {

/// The real program, started without a display and with a home of its own.
class Program {
public:
    explicit Program(const QStringList& arguments)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
            environment.remove(QString::fromLatin1(name));
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(QStringLiteral(KELMO_PROGRAM), arguments);
    }

    ~Program()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    /// Whether the program has printed `text`, within ten seconds.
    bool prints(const QByteArray& text, int timeoutMs = 10'000)
    {
        QElapsedTimer timer;
        timer.start();
        while (!m_output.contains(text) && timer.elapsed() < timeoutMs) {
            m_process.waitForReadyRead(200);
            m_output += m_process.readAll();
        }
        return m_output.contains(text);
    }

    [[nodiscard]] QProcess& process() { return m_process; }
    [[nodiscard]] const QByteArray& output() const { return m_output; }

private:
    QProcess m_process;
    QByteArray m_output;
};

quint16 freePort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

} // namespace

TEST(Program, startInBackgroundServesWithoutADisplayAndEndsOnTerm)
{
    const TemporaryHome home;
    const quint16 port = freePort();
    Program program({QStringLiteral("--background"), QStringLiteral("--port"), QString::number(port)});
    ASSERT_TRUE(program.prints("listening on http://127.0.0.1:" + QByteArray::number(port) + "/mcp"))
        << program.output().constData();
    program.process().terminate();
    ASSERT_TRUE(program.process().waitForFinished(5000));
    EXPECT_EQ(program.process().exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.process().exitCode(), 0);
    // What was printed is in the log as well.
    EXPECT_TRUE(home.read(QStringLiteral("Library/Logs/KelmoEditor.log")).contains("window up"));
}

TEST(Program, startRemovesWhatAKilledExportLeft)
{
    const TemporaryHome home;
    const QString left = home.write(QStringLiteral("Movies/Vorlix/.talk-hevc-2026-11-23T10.00.00Z.mp4.part"), "half");
    const QString whole = home.write(QStringLiteral("Movies/Vorlix/talk.mp4"), "whole");
    Program program({QStringLiteral("--background"), QStringLiteral("--port"), QString::number(freePort())});
    ASSERT_TRUE(program.prints("listening on")) << program.output().constData();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !QFile::exists(left); }, 20'000));
    EXPECT_TRUE(QFile::exists(whole));
}

TEST(Program, startOnATakenPortSaysSoAndGoesOn)
{
    const TemporaryHome home;
    QTcpServer other;
    ASSERT_TRUE(other.listen(QHostAddress::LocalHost));
    Program program({QStringLiteral("--background"), QStringLiteral("--port"), QString::number(other.serverPort())});
    EXPECT_TRUE(program.prints("[error] mcp listener")) << program.output().constData();
    EXPECT_EQ(program.process().state(), QProcess::Running);
}

TEST(Program, startOnATakeThatIsNotThereSaysSoAndGoesOn)
{
    const TemporaryHome home;
    Program program({QStringLiteral("--take"), QStringLiteral("/nowhere/x.mov"), QStringLiteral("--port"),
        QString::number(freePort()), QStringLiteral("--muted")});
    EXPECT_TRUE(program.prints("open failed: No screen file at /nowhere/x.mov")) << program.output().constData();
    EXPECT_TRUE(program.prints("listening on")) << program.output().constData();
}

// An encoder that is on every machine stands in for those that need a device.
TEST(Program, askedAboutAnEncoderAnswersAndDoesNothingElse)
{
    const TemporaryHome home;
    const QString asked = QStringLiteral("--probe-encoder");
    const QStringList good = QStringLiteral("0 320 180 30 200000 1 1 1 0").split(QLatin1Char(' '));
    const QStringList nonsense = QStringLiteral("0 0 -5 30 200000 1 1 1 0").split(QLatin1Char(' '));
    const struct {
        QStringList arguments;
        int code;
    } cases[] = {
        {QStringList{asked, QStringLiteral("libx264")} + good, 0},
        {QStringList{asked, QStringLiteral("libx265")} + good, 0},
        {QStringList{asked, QStringLiteral("libx264")} + nonsense, 1},
        {{asked, QStringLiteral("libx264")}, 1},
        {{asked, QStringLiteral("no such encoder")}, 2},
    };
    for (const auto& [arguments, code] : cases) {
        Program program(arguments);
        ASSERT_TRUE(program.process().waitForFinished(60'000));
        EXPECT_EQ(program.process().exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(program.process().exitCode(), code) << arguments.join(QLatin1Char(' ')).toStdString();
    }
    EXPECT_TRUE(QDir(home.path()).isEmpty());
}

TEST(Program, crashLeavesARecordThatTheNextLaunchTakesAway)
{
    const TemporaryHome home;
    const QDir folder(home.path() + QLatin1String("/Library/Application Support/Kelmo/Diagnostics"));
    const QStringList arguments{QStringLiteral("--background"), QStringLiteral("--port"), QString::number(freePort())};
    QStringList records;
    {
        Program program(arguments);
        ASSERT_TRUE(program.prints("listening on")) << program.output().constData();
        records = folder.entryList(QDir::Files);
        ASSERT_EQ(records.size(), 1);
        ::kill(static_cast<pid_t>(program.process().processId()), SIGABRT);
        ASSERT_TRUE(program.process().waitForFinished(20'000));
        EXPECT_EQ(program.process().exitStatus(), QProcess::CrashExit);
        EXPECT_EQ(program.process().exitCode(), SIGABRT);
    }
    EXPECT_EQ(folder.entryList(QDir::Files), records);
    EXPECT_TRUE(home.read(folder.filePath(records[0]).mid(home.path().size() + 1)).endsWith("end\n"));

    Program next(arguments);
    QElapsedTimer timer;
    timer.start();
    while (QFile::exists(folder.filePath(records[0])) && timer.elapsed() < 20'000)
        next.process().waitForReadyRead(50);
    EXPECT_FALSE(QFile::exists(folder.filePath(records[0])));
}

TEST(Program, startingAgainHandsTheTakeToTheRunningOneAndEnds)
{
    const TemporaryHome home;
    if (!PrivateBus::start())
        GTEST_SKIP() << "no message bus daemon";
    const TakeFolder takes;
    takes.makeMovie(QStringLiteral("first"), 2);
    takes.makeMovie(QStringLiteral("second"), 2);
    const QStringList common{QStringLiteral("--muted"), QStringLiteral("--port"), QString::number(freePort())};
    Program first(common + QStringList{QStringLiteral("--take"), takes.movie(QStringLiteral("first"))});
    ASSERT_TRUE(first.prints("open first: ")) << first.output().constData();
    ASSERT_TRUE(first.prints("listening on"));

    Program again(common + QStringList{QStringLiteral("--take"), takes.movie(QStringLiteral("second"))});
    ASSERT_TRUE(again.process().waitForFinished(20'000));
    EXPECT_EQ(again.process().exitCode(), 0);
    EXPECT_FALSE(again.prints("listening on", 0)) << "it never began";
    EXPECT_TRUE(first.prints("open second: ")) << first.output().constData();

    // These run beside it on purpose.
    Program elsewhere({QStringLiteral("--muted"), QStringLiteral("--port"), QString::number(freePort())});
    EXPECT_TRUE(elsewhere.prints("listening on")) << elsewhere.output().constData();
    Program background(common + QStringList{QStringLiteral("--background")});
    EXPECT_TRUE(background.prints("window up")) << background.output().constData();
    EXPECT_EQ(background.process().state(), QProcess::Running);
}

TEST(Program, startWithoutASessionBusRunsAllTheSame)
{
    const TemporaryHome home;
    const QByteArray before = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere");
    Program program({QStringLiteral("--muted"), QStringLiteral("--port"), QString::number(freePort())});
    EXPECT_TRUE(program.prints("listening on")) << program.output().constData();
    qputenv("DBUS_SESSION_BUS_ADDRESS", before);
}

} // namespace kelmo
