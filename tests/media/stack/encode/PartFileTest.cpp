#include "media/stack/encode/PartFile.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

using namespace kelmo;

namespace {

class PartFileTest : public testing::Test {
protected:
    [[nodiscard]] QString file(const QString& name) const { return m_folder.filePath(name); }

    [[nodiscard]] QStringList names() const
    {
        return QDir(m_folder.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }

    void write(const QString& name, const QByteArray& bytes, int hoursAgo) const
    {
        QFile target(file(name));
        ASSERT_TRUE(target.open(QIODevice::WriteOnly));
        target.write(bytes);
        target.flush();
        target.setFileTime(QDateTime::currentDateTime().addSecs(-3600 * hoursAgo), QFileDevice::FileModificationTime);
    }

private:
    QTemporaryDir m_folder;
};

} // namespace

TEST_F(PartFileTest, takeFinalNameReplacesAndGivingUpLeavesNothing)
{
    write(QStringLiteral("talk.mp4"), "old", 0);
    {
        const Result<std::unique_ptr<PartFile>> givenUp = PartFile::create(file(QStringLiteral("talk.mp4")));
        ASSERT_TRUE(givenUp);
        EXPECT_EQ(names().size(), 2);
    }
    EXPECT_EQ(names(), QStringList{QStringLiteral("talk.mp4")});
    {
        const Result<std::unique_ptr<PartFile>> part = PartFile::create(file(QStringLiteral("talk.mp4")));
        ASSERT_TRUE(part);
        QFile content((*part)->path());
        ASSERT_TRUE(content.open(QIODevice::WriteOnly | QIODevice::Truncate));
        content.write("new");
        content.close();
        ASSERT_TRUE((*part)->takeFinalName());
    }
    EXPECT_EQ(names(), QStringList{QStringLiteral("talk.mp4")});
    QFile result(file(QStringLiteral("talk.mp4")));
    ASSERT_TRUE(result.open(QIODevice::ReadOnly));
    EXPECT_EQ(result.readAll(), "new");
}

TEST_F(PartFileTest, createRemovesWhatWasLeftBehindAndNothingElse)
{
    const Result<std::unique_ptr<PartFile>> running = PartFile::create(file(QStringLiteral("long.mp4")));
    ASSERT_TRUE(running);
    QFile slow((*running)->path());
    ASSERT_TRUE(slow.open(QIODevice::ReadWrite));
    ASSERT_TRUE(slow.setFileTime(QDateTime::currentDateTime().addDays(-3), QFileDevice::FileModificationTime));
    slow.close();
    write(QStringLiteral(".old.mp4.part"), "half", 25);
    write(QStringLiteral(".recent.mp4.part"), "half", 0);
    write(QStringLiteral("old.mp4"), "whole", 48);
    write(QStringLiteral(".old.txt"), "another's", 48);
    ASSERT_TRUE(QFile::link(QStringLiteral("old.mp4"), file(QStringLiteral(".link.mp4.part"))));

    const Result<std::unique_ptr<PartFile>> next = PartFile::create(file(QStringLiteral("next.mp4")));
    ASSERT_TRUE(next);
    EXPECT_EQ(names(),
        (QStringList{QStringLiteral(".link.mp4.part"), QStringLiteral(".long.mp4.part"),
            QStringLiteral(".next.mp4.part"), QStringLiteral(".old.txt"), QStringLiteral("old.mp4")}));
}

TEST_F(PartFileTest, fileOfAnotherProgramIsLeftBehindWhenThatIsKilled)
{
    const QString path = file(QStringLiteral("talk.mp4"));
    int pipe[2];
    ASSERT_EQ(::pipe(pipe), 0);
    const pid_t writer = ::fork();
    if (writer == 0) {
        const Result<std::unique_ptr<PartFile>> part = PartFile::create(path);
        const bool created = part.has_value();
        [[maybe_unused]] const ssize_t told = ::write(pipe[1], &created, 1);
        for (;;)
            ::pause();
    }
    bool created = false;
    EXPECT_EQ(::read(pipe[0], &created, 1), 1);
    EXPECT_TRUE(created);
    const QStringList part{QStringLiteral(".talk.mp4.part")};
    PartFile::removeLeftBehind(QFileInfo(path).path());
    EXPECT_EQ(names(), part) << "it is being written";
    ::kill(writer, SIGKILL);
    ::waitpid(writer, nullptr, 0);
    EXPECT_EQ(names(), part);
    PartFile::removeLeftBehind(QFileInfo(path).path());
    EXPECT_EQ(names(), QStringList());
    ::close(pipe[0]);
    ::close(pipe[1]);
}

TEST_F(PartFileTest, createGetsItsFileWhileOthersLookForWhatIsLeftBehind)
{
    std::atomic<bool> done = false;
    std::vector<std::thread> sweepers;
    for (int i = 0; i < 3; ++i) {
        sweepers.emplace_back([&] {
            while (!done)
                PartFile::removeLeftBehind(QFileInfo(file({})).path());
        });
    }
    for (int i = 0; i < 500; ++i) {
        const Result<std::unique_ptr<PartFile>> part = PartFile::create(file(QStringLiteral("talk.mp4")));
        ASSERT_TRUE(part) << i;
        ASSERT_TRUE((*part)->takeFinalName()) << i;
    }
    done = true;
    for (std::thread& each : sweepers)
        each.join();
}

TEST_F(PartFileTest, createOfWhatIsBeingWrittenFailsAndOfWhatWasLeftBehindWorks)
{
    const QString path = file(QStringLiteral("talk.mp4"));
    write(QStringLiteral(".talk.mp4.part"), "left behind a moment ago", 0);
    const Result<std::unique_ptr<PartFile>> first = PartFile::create(path);
    ASSERT_TRUE(first);
    const Result<std::unique_ptr<PartFile>> second = PartFile::create(path);
    ASSERT_FALSE(second);
    EXPECT_TRUE(userText(second.error()).startsWith(QStringLiteral("Can’t write talk.mp4: ")));
    EXPECT_TRUE(QFile::exists(PartFile::pathFor(path)));
}
