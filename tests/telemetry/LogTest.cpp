#include "telemetry/Log.h"

#include "telemetry/LogWriter.h"
#include "tests/support/TemporaryHome.h"

#include <QCoreApplication>
#include <QProcess>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <thread>

using namespace kelmo;

namespace {

const QString logFile = QStringLiteral("Library/Logs/KelmoEditor.log");
constexpr int threads = 4;
constexpr int linesPerThread = 250;

QList<QByteArray> linesIn(const QByteArray& text)
{
    QList<QByteArray> lines = text.split('\n');
    EXPECT_TRUE(lines.takeLast().isEmpty()) << "the last line is not complete";
    return lines;
}

} // namespace

TEST(Log, lineReachesTheFileWithTimeTagAndMessage)
{
    const TemporaryHome home;
    Log::line(u"share", u"signed in — sharing the open take");
    Log::line(u"", QString());
    Log::line(u"timing", QStringLiteral("open: ") + QString::number(12) + QLatin1String(" ms\nsecond line"));
    Log::flush();
    const QString text = QString::fromUtf8(home.read(logFile));
    const QString time = QStringLiteral(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z )");
    const QString expected = QStringLiteral("^%1\\[share\\] signed in — sharing the open take\n"
                                            "%1\\[\\] \n"
                                            "%1\\[timing\\] open: 12 ms\nsecond line\n$")
                                 .arg(time);
    EXPECT_TRUE(QRegularExpression(expected).match(text).hasMatch()) << text.toStdString();
}

TEST(Log, lineToExistingFileAppends)
{
    const TemporaryHome home;
    home.write(logFile, "from an earlier run\n");
    Log::line(u"mcp", u"hello");
    Log::flush();
    EXPECT_TRUE(home.read(logFile).startsWith("from an earlier run\n"));
    EXPECT_TRUE(home.read(logFile).endsWith("[mcp] hello\n"));
}

TEST(Log, lineWithNowhereToWriteIsLostQuietly)
{
    const TemporaryHome home;
    home.write(QStringLiteral("Library"), "a file where a folder should be");
    Log::line(u"error", u"lost");
    Log::flush();
    EXPECT_EQ(home.read(QStringLiteral("Library")), "a file where a folder should be");
}

// Not a test of its own: the next one runs it in another process and looks at what that leaves behind.
TEST(LogProcess, DISABLED_logsFromSeveralThreadsAndQuits)
{
    std::vector<std::thread> running;
    for (int thread = 0; thread < threads; ++thread) {
        running.emplace_back([thread] {
            for (int i = 0; i < linesPerThread; ++i)
                Log::line(u"selftest", QStringLiteral("%1:%2").arg(thread).arg(i) + QString(200, QLatin1Char('x')));
        });
    }
    for (std::thread& thread : running)
        thread.join();
}

TEST(LogLine, DISABLED_isLongerThanAnyPipe) { Log::line(u"selftest", QString(300'000, QLatin1Char('x'))); }

TEST(Log, processQuittingRightAfterLoggingLosesAndMixesNothing)
{
    const TemporaryHome home;
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(),
        {QStringLiteral("--gtest_also_run_disabled_tests"), QStringLiteral("--gtest_filter=LogProcess.*")});
    ASSERT_TRUE(process.waitForFinished(60'000));
    ASSERT_EQ(process.exitCode(), 0);

    const QList<QByteArray> filed = linesIn(home.read(logFile));
    EXPECT_EQ(filed.size(), threads * linesPerThread);
    const QRegularExpression form(QStringLiteral("^[-0-9T:.]+Z \\[selftest\\] (\\d):(\\d+)x{200}$"));
    std::array<int, threads> next{};
    for (const QByteArray& line : filed) {
        const auto match = form.match(QString::fromUtf8(line));
        ASSERT_TRUE(match.hasMatch()) << line.toStdString();
        EXPECT_EQ(match.captured(2).toInt(), next.at(match.captured(1).toUInt())++);
    }
    QList<QByteArray> echoed = linesIn(process.readAllStandardOutput());
    echoed.removeIf([](const QByteArray& line) { return !line.contains("[selftest]"); });
    QList<QByteArray> sortedFile = filed;
    std::sort(echoed.begin(), echoed.end());
    std::sort(sortedFile.begin(), sortedFile.end());
    EXPECT_EQ(echoed, sortedFile);
}

TEST(Log, outputThatNobodyReadsDoesNotHoldUpTheCaller)
{
    const TemporaryHome home;
    // The shell keeps the pipe open and reads none of it until the log has written far more than it holds.
    QProcess process;
    process.start(QStringLiteral("/bin/sh"),
        {QStringLiteral("-c"),
            QStringLiteral("{ '%1' --gtest_also_run_disabled_tests '--gtest_filter=LogLine.*:LogProcess.*'; echo $? > "
                           "\"$HOME/code\"; } "
                           "| while [ ! -s \"$HOME/code\" ]; do sleep 0.05; done")
                .arg(QCoreApplication::applicationFilePath())});
    ASSERT_TRUE(process.waitForFinished(20'000)) << "the log waits for its reader";
    EXPECT_EQ(linesIn(home.read(logFile)).size(), 1 + threads * linesPerThread);
}

TEST(LogWriter, appendAfterCloseStillWrites)
{
    const TemporaryHome home;
    const QString path = home.path() + QLatin1String("/deep/er/log.txt");
    LogWriter writer;
    writer.append(path, "one\n");
    writer.close();
    EXPECT_EQ(home.read(QStringLiteral("deep/er/log.txt")), "one\n");
    writer.append(path, "two\n");
    writer.close();
    EXPECT_EQ(home.read(QStringLiteral("deep/er/log.txt")), "one\ntwo\n");
}
