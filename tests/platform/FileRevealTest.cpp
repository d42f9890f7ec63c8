#include "platform/FileReveal.h"

#include "tests/platform/PrivateBus.h"
#include "tests/support/TemporaryHome.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <gtest/gtest.h>

using namespace kelmo;

class FakeFileManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    QStringList shown;

public Q_SLOTS:
    void ShowItems(const QStringList& uris, const QString&) { shown = uris; }
};

namespace {

/// Puts a script in front of the real opener; it writes down the folder it was asked to open.
class FakeOpener {
public:
    explicit FakeOpener(const TemporaryHome& home)
        : m_path(qgetenv("PATH"))
    {
        QFile script(home.write(QStringLiteral("bin/xdg-open"),
            "#!/bin/sh\nprintf %s \"$1\" > \"$HOME/opened.part\"\nmv \"$HOME/opened.part\" \"$HOME/opened\"\n"));
        script.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
        qputenv("PATH", QFile::encodeName(home.path()) + "/bin:" + m_path);
    }
    ~FakeOpener() { qputenv("PATH", m_path); }

private:
    QByteArray m_path;
};

template <class Condition> bool eventually(Condition condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < 5000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    return condition();
}

} // namespace

TEST(FileReveal, revealWithAFileManagerSelectsTheFile)
{
    PrivateBus* bus = PrivateBus::start();
    if (!bus)
        GTEST_SKIP() << "no message bus daemon here";
    const TemporaryHome home;
    const FakeOpener opener(home);
    FakeFileManager manager;
    bus->offer(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"), &manager);
    FileReveal::reveal(QStringLiteral("/tmp/Take 1 #é.mp4"));
    EXPECT_TRUE(eventually([&] { return !manager.shown.isEmpty(); }));
    EXPECT_EQ(manager.shown, QStringList{QStringLiteral("file:///tmp/Take%201%20%23%C3%A9.mp4")});
    EXPECT_TRUE(home.read(QStringLiteral("opened")).isEmpty());
    bus->withdraw(QStringLiteral("org.freedesktop.FileManager1"));
}

TEST(FileReveal, revealWithoutAFileManagerOpensTheFolder)
{
    PrivateBus* bus = PrivateBus::start();
    if (!bus)
        GTEST_SKIP() << "no message bus daemon here";
    const TemporaryHome home;
    const FakeOpener opener(home);
    FileReveal::reveal(home.file(QStringLiteral("Movies and more/a.mp4")));
    EXPECT_TRUE(eventually([&] { return !home.read(QStringLiteral("opened")).isEmpty(); }));
    EXPECT_EQ(QString::fromUtf8(home.read(QStringLiteral("opened"))), home.path() + QLatin1String("/Movies and more"));
}

#include "FileRevealTest.moc"
