#include "tests/share/ShareFixture.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QTest>

namespace kelmo {

namespace {

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

ShareFixture::ShareFixture()
{
    qputenv("KELMO_NO_KEYCHAIN", "1");
    qunsetenv("KELMO_NO_AUTOSHARE");
    QGuiApplication::clipboard()->clear();
}

ShareFixture::~ShareFixture()
{
    m_sharer.reset();
    m_editor.reset();
    // What was under way ends in the turns of the event loop that follow.
    QTest::qWait(20);
}

ShareTimeouts ShareFixture::quickPace()
{
    using namespace std::chrono_literals;
    return {20s, 5ms, 20ms, 40ms, 500ms};
}

void ShareFixture::startServer(qint64 partSize)
{
    ShareServer::Options options;
    options.folder = m_home.path() % QStringLiteral("/server");
    options.token = m_token.toUtf8();
    options.partSize = partSize;
    m_server = std::make_unique<ShareServer>(options);
}

void ShareFixture::configure(bool autoShare, const QString& quality) const
{
    Sharer::save({m_server->endpoint() % QStringLiteral("/"), m_token, autoShare, quality});
}

void ShareFixture::startSharer(const ShareTimeouts& pace)
{
    m_sharer = std::make_unique<Sharer>(*m_editor, pace);
    m_editor->onTakeReady = [this](const Take& take) { m_sharer->takeOpened(take); };
    QObject::connect(m_sharer.get(), &Sharer::changed, m_sharer.get(), [this] {
        const QString phase = m_sharer->phase().value_or(QString());
        if (m_phases.isEmpty() || m_phases.last() != phase)
            m_phases.append(phase);
    });
}

void ShareFixture::openTake(const QString& base, int seconds)
{
    if (!QFileInfo::exists(m_takes.movie(base))) {
        m_takes.makeMovie(base, seconds);
        m_takes.writeTranscript(base, TakeFolder::talk(seconds), Aligned::Yes);
        m_takes.writeSync(base);
        m_takes.age(m_takes.file(base % QStringLiteral("_sync.json")), 3600);
    }
    openLoaded(base);
}

void ShareFixture::startAll(qint64 partSize)
{
    startServer(partSize);
    configure();
    startSharer();
    openTake();
}

Result<QString> ShareFixture::share(bool waitForUpload)
{
    QCoro::Task<Result<QString>> sharing = m_sharer->share(waitForUpload);
    return QCoro::waitFor(sharing);
}

bool ShareFixture::waitUntilIdle()
{
    // A rerun begins in the turn that ends the upload before it.
    return waitUntil([this] { return !m_sharer->isUploading() && !m_sharer->starting() && !m_sharer->phase(); });
}

void ShareFixture::slow(const QByteArray& inPath, int ms)
{
    m_server->setScript([inPath, ms](const ShareServer::Request& request) {
        return request.path.contains(inPath)
            ? ShareServer::Handling{ShareServer::Fault::Slow, 200, {}, std::chrono::milliseconds(ms)}
            : ShareServer::Handling();
    });
}

void ShareFixture::answer(const QByteArray& inPath, int status, const QByteArray& body)
{
    m_server->setScript([inPath, status, body](const ShareServer::Request& request) {
        return request.path.contains(inPath) ? ShareServer::Handling{ShareServer::Fault::Status, status, body}
                                             : ShareServer::Handling();
    });
}

void ShareFixture::expectPlaysCurrentEdit(const QString& id)
{
    EXPECT_EQ(m_sharer->lastError(), std::nullopt);
    ASSERT_TRUE(m_sharer->record());
    EXPECT_EQ(m_sharer->record()->id, id);
    EXPECT_EQ(m_sharer->record()->signature, signature());
    EXPECT_TRUE(m_server->book().share(id)->plays);
    EXPECT_NEAR(m_server->book().share(id)->durationMs, m_editor->timeline().durationMs, 1e-6);
    EXPECT_EQ(video(id), newestExport());
    EXPECT_EQ(m_server->book().violations(), QStringList());
}

void ShareFixture::edit()
{
    ++m_edits;
    Cuts cuts;
    cuts.add({{100.0, 101.0 + m_edits}});
    m_editor->setCuts(cuts, QStringLiteral("Cut"));
}

QJsonObject ShareFixture::recordFile(const QString& base) const
{
    return QJsonDocument::fromJson(contentOf(m_takes.file(base % QStringLiteral("_share.json")))).object();
}

QByteArray ShareFixture::configFile() const
{
    return m_home.read(QStringLiteral("Library/Application Support/Kelmo/share.json"));
}

QByteArray ShareFixture::newestExport() const
{
    const QDir folder(m_home.path() % QStringLiteral("/Movies/Vorlix"));
    const QFileInfoList files = folder.entryInfoList(QDir::Files, QDir::Time);
    return files.isEmpty() ? QByteArray() : contentOf(files.first().filePath());
}

QByteArray ShareFixture::video(const QString& id) const { return contentOf(m_server->book().videoPath(id)); }

QString ShareFixture::clipboard() const { return QGuiApplication::clipboard()->text(); }

} // namespace kelmo
