#include "platform/crash/RecordFile.h"

#include "tests/support/TemporaryHome.h"

#include <QDir>
#include <QSet>

#include <gtest/gtest.h>

#include <mutex>
#include <thread>

#include <unistd.h>

using namespace kelmo;

TEST(RecordFile, takeLeftBehindByManyHandsEachRecordOutOnce)
{
    const TemporaryHome home;
    const QString folder = home.path() + QLatin1String("/records");
    constexpr int records = 200;
    for (int i = 0; i < records; ++i)
        home.write(QStringLiteral("records/%1-1.record").arg(i), QByteArray::number(i));
    home.write(QStringLiteral("records/notes.txt"), "not a record");
    const RecordFile live(folder, "live");

    std::mutex mutex;
    QList<QByteArray> taken;
    std::vector<std::thread> takers;
    for (int i = 0; i < 4; ++i)
        takers.emplace_back([&] {
            while (const std::optional<QByteArray> record = RecordFile::takeLeftBehind(folder)) {
                const std::lock_guard lock(mutex);
                taken.append(*record);
            }
        });
    for (std::thread& taker : takers)
        taker.join();
    EXPECT_EQ(taken.size(), records);
    EXPECT_EQ(QSet<QByteArray>(taken.begin(), taken.end()).size(), records);
    // The live one and the one that is none of ours are still there.
    EXPECT_EQ(QDir(folder).entryList(QDir::Files).size(), 2);
}

TEST(RecordFile, closedRecordStaysOnlyIfSomethingWasNoted)
{
    const TemporaryHome home;
    const QString folder = home.path() + QLatin1String("/records");
    {
        const RecordFile quiet(folder, "header\n");
        const RecordFile eventful(folder, "header\n");
        ASSERT_EQ(::write(eventful.descriptor(), "hang\n", 5), 5);
    }
    EXPECT_EQ(RecordFile::takeLeftBehind(folder).value_or(QByteArray()), "header\nhang\n");
    EXPECT_FALSE(RecordFile::takeLeftBehind(folder));
}

TEST(RecordFile, takeLeftBehindReadsAtMostAMebibyte)
{
    const TemporaryHome home;
    home.write(QStringLiteral("records/1-1.record"), QByteArray(3 << 20, 'x'));
    EXPECT_EQ(RecordFile::takeLeftBehind(home.path() + QLatin1String("/records"))->size(), 1 << 20);
    EXPECT_FALSE(RecordFile::takeLeftBehind(home.path() + QLatin1String("/nowhere")));
}
