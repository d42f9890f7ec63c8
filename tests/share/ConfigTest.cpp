#include "tests/share/ShareFixture.h"

#include <QGuiApplication>

#include <sys/stat.h>
#include <thread>

namespace kelmo {

namespace {

using ShareConfig = ShareFixture;

QString text(const char* utf8) { return QString::fromUtf8(utf8); }

constexpr char path[] = "Library/Application Support/Kelmo/share.json";

} // namespace

TEST_F(ShareConfig, loadNeedsEveryFieldOfItsKind)
{
    const struct {
        const char* file;
        bool loads;
    } cases[] = {
        {R"({"autoShare":false,"endpoint":"https://s.example","quality":"native","token":"t","more":1})", true},
        {R"({"endpoint":"https://s.example","quality":"native","token":"t"})", false},
        {R"({"autoShare":1,"endpoint":"https://s.example","quality":"native","token":"t"})", false},
        {R"({"autoShare":true,"endpoint":null,"quality":"native","token":"t"})", false},
        {R"({"autoShare":true,"endpoint":"x","quality":"native"})", false},
        {"{", false},
        {"", false},
    };
    for (const auto& each : cases) {
        m_home.write(QString::fromLatin1(path), each.file);
        startSharer();
        EXPECT_EQ(m_sharer->config().has_value(), each.loads) << each.file;
        if (!each.loads) {
            EXPECT_EQ(configFile(), each.file) << "what cannot be read is left alone";
        }
    }
    m_sharer.reset();
}

TEST_F(ShareConfig, setConfigSavesChangesOnlyAndForTheOwnerAlone)
{
    startSharer();
    EXPECT_EQ(m_sharer->config(), std::nullopt);
    EXPECT_TRUE(configFile().isEmpty());
    const Sharer::Config config{text("https://s.example"), text("t\"ö"), true, text("native")};
    m_sharer->setConfig(config);
    EXPECT_EQ(configFile(),
        "{\n    \"autoShare\": true,\n    \"endpoint\": \"https://s.example\",\n    \"quality\": \"native\",\n    "
        "\"token\": \"t\\\"ö\"\n}\n");
    struct stat status { };
    const QByteArray file = QFile::encodeName(m_home.file(QString::fromLatin1(path)));
    ASSERT_EQ(::stat(file.constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);

    m_home.write(QString::fromLatin1(path), "mine");
    m_sharer->setConfig(config);
    EXPECT_EQ(configFile(), "mine");
    m_sharer->setConfig(std::nullopt);
    EXPECT_EQ(configFile(), "mine");
    m_sharer->setConfig(config);
    EXPECT_NE(configFile(), "mine");
    startSharer();
    EXPECT_EQ(m_sharer->config(), config);
}

TEST_F(ShareConfig, saveNeverShowsAnythingToOthersAndReplacesWhole)
{
    const mode_t mask = ::umask(0);
    const QString folder = QFileInfo(m_home.file(QString::fromLatin1(path))).path();
    std::atomic<bool> done = false;
    std::atomic<int> exposed = 0;
    std::atomic<int> broken = 0;
    std::thread watcher([&] {
        while (!done) {
            for (const QFileInfo& file : QDir(folder).entryInfoList(QDir::Files | QDir::Hidden)) {
                struct stat status { };
                if (::stat(QFile::encodeName(file.filePath()).constData(), &status) == 0 && (status.st_mode & 077) != 0)
                    ++exposed;
            }
            const QByteArray content = configFile();
            if (!content.isEmpty() && !QJsonDocument::fromJson(content).isObject())
                ++broken;
        }
    });
    for (int i = 0; i < 300; ++i)
        Sharer::save({text("https://s.example"), QString(i * 20, u'x'), true});
    done = true;
    watcher.join();
    ::umask(mask);
    EXPECT_EQ(exposed, 0);
    EXPECT_EQ(broken, 0);
    EXPECT_EQ(QDir(folder).entryList(QDir::Files | QDir::Hidden), QStringList{text("share.json")});
}

TEST_F(ShareConfig, recordIsWrittenInItsOrderAndReadBack)
{
    startServer();
    configure();
    startSharer();
    openTake();
    const Sharer::Record record{text("a\"b"), text("https://s.example/v/1"), text("1-2,3-4|trim 1-end")};
    Sharer::saveRecord(record, *m_editor->take());
    QFile file(m_takes.file(text("talk_share.json")));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), R"({"id":"a\"b","url":"https://s.example/v/1","signature":"1-2,3-4|trim 1-end"})");
    EXPECT_EQ(m_sharer->record(), std::nullopt);
    m_sharer->takeOpened(*m_editor->take());
    EXPECT_EQ(m_sharer->record(), record);
    m_sharer->copyLink();
    EXPECT_EQ(clipboard(), record.url);
    EXPECT_EQ(m_editor->status(), text("Link copied — https://s.example/v/1"));
    m_takes.write(text("talk_share.json"), R"({"id":"a","url":"b"})");
    m_sharer->takeOpened(*m_editor->take());
    EXPECT_EQ(m_sharer->record(), std::nullopt);
}

TEST_F(ShareConfig, recordReplacesALinkAndLeavesItsTargetAlone)
{
    startServer();
    configure();
    startSharer();
    openTake();
    const QByteArray config = configFile();
    const QString record = m_takes.file(text("talk_share.json"));
    const QString victim = m_home.file(text("victim.txt"));
    const QString missing = m_home.file(text("missing.txt"));
    m_home.write(text("victim.txt"), "mine");
    const QStringList names = QDir(m_takes.file({})).entryList(QDir::Files | QDir::Hidden);
    for (const QString& target : {victim, m_home.file(QString::fromLatin1(path)), missing}) {
        ASSERT_TRUE(QFile::link(target, record));
        Sharer::saveRecord({text("1"), text("https://s.example/v/1"), {}}, *m_editor->take());
        EXPECT_FALSE(QFileInfo(record).isSymLink()) << qPrintable(target);
        EXPECT_EQ(recordFile().value(u"id").toString(), text("1"));
        EXPECT_TRUE(QFile::remove(record));
        EXPECT_EQ(QDir(m_takes.file({})).entryList(QDir::Files | QDir::Hidden), names);
    }
    EXPECT_EQ(m_home.read(text("victim.txt")), "mine");
    EXPECT_EQ(configFile(), config);
    EXPECT_FALSE(QFile::exists(missing));

    // What is in the way stays, and a folder that is gone stays gone.
    ASSERT_TRUE(QDir().mkpath(record % text("/inside")));
    Sharer::saveRecord({text("1"), text("u"), {}}, *m_editor->take());
    EXPECT_TRUE(QFileInfo(record % text("/inside")).isDir());
    EXPECT_EQ(QDir(m_takes.file({})).entryList(QDir::Files | QDir::Hidden), names);
    Take gone = *m_editor->take();
    gone.dir = QUrl::fromLocalFile(m_home.file(text("gone")));
    Sharer::saveRecord({text("1"), text("u"), {}}, gone);
    EXPECT_FALSE(QFile::exists(m_home.file(text("gone"))));
    // A name that is as long as a name can be.
    Take longest = *m_editor->take();
    longest.base = QString(255 - 11, u'x');
    Sharer::saveRecord({text("7"), text("u"), {}}, longest);
    EXPECT_EQ(recordFile(longest.base).value(u"id").toString(), text("7"));
}

TEST_F(ShareConfig, takeJustRecordedIsSharedUnasked)
{
    startServer();
    startSharer();
    openTake();
    const QString sync = m_takes.file(text("talk_sync.json"));
    const Sharer::Config sharing{m_server->endpoint(), m_token, true};
    const auto opened = [&](double ageInSeconds, const Sharer::Config& config) {
        m_takes.age(sync, ageInSeconds);
        m_sharer->setConfig(config);
        m_sharer->takeOpened(*m_editor->take());
        wait(60);
        const bool shared = m_server->book().count() > 0;
        return shared;
    };
    EXPECT_FALSE(opened(121, sharing));
    EXPECT_FALSE(opened(-30, sharing)) << "a date in the future is not new";
    EXPECT_FALSE(opened(10, {m_server->endpoint(), m_token, false}));
    EXPECT_FALSE(opened(10, {m_server->endpoint(), {}, true}));
    const Take take = *m_editor->take();
    Sharer::saveRecord({text("7"), text("u"), {}}, take);
    EXPECT_FALSE(opened(10, sharing));
    QFile::remove(m_takes.file(text("talk_share.json")));
    EXPECT_FALSE(m_sharer->isUploading());
    Take linked = take;
    linked.screenURL = QUrl::fromLocalFile(m_home.write(text("Private/diary.mov"), "diary"));
    m_takes.age(sync, 10);
    m_sharer->takeOpened(linked);
    wait(60);
    EXPECT_EQ(m_server->book().count(), 0) << "a movie from elsewhere is not published unasked";

    m_takes.age(sync, 119);
    m_sharer->takeOpened(take);
    ASSERT_TRUE(waitUntil([this] { return m_sharer->record().has_value(); }));
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_TRUE(shareLog().contains(text("auto-sharing new take talk")));
    EXPECT_TRUE(m_server->book().share(text("1"))->plays);
}

TEST_F(ShareConfig, nothingIsSharedUnaskedInATestRunOrWithoutASyncFile)
{
    startServer();
    configure(true);
    startSharer();
    m_takes.makeMovie(text("bare"), 2);
    openLoaded(text("bare"));
    wait(60);
    qputenv("KELMO_NO_AUTOSHARE", "");
    startSharer();
    openTake();
    m_takes.age(m_takes.file(text("talk_sync.json")), 5);
    m_sharer->takeOpened(*m_editor->take());
    wait(60);
    EXPECT_EQ(m_server->requests().size(), 0U);
    EXPECT_TRUE(share(true)) << "when asked it is";
}

} // namespace kelmo
