#include "model/Take.h"

#include "tests/support/TemporaryHome.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace kelmo;

namespace {

constexpr char oneWord[] = R"({"words":[{"text":"a","startMs":100,"endMs":300}],"aligned":true})";

QUrl folderOf(const TemporaryHome& home) { return QUrl::fromLocalFile(home.path()); }

void setModified(const QString& path, const QDateTime& time)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.setFileTime(time, QFileDevice::FileModificationTime));
}

QString bases(const std::vector<Take::Listing>& listings)
{
    QStringList names;
    for (const Take::Listing& listing : listings)
        names.append(listing.base);
    return names.join(QLatin1Char(' '));
}

} // namespace

TEST(Take, loadAnyFileOfTheTakeFindsItsBase)
{
    const TemporaryHome home;
    home.write(QStringLiteral("r/A 1.5.mov"), "movie");
    const QString names[] = {QStringLiteral("A 1.5.mov"), QStringLiteral("A 1.5_transcript.json"),
        QStringLiteral("A 1.5_webcam.mov"), QStringLiteral("A 1.5_sync.json"), QStringLiteral("A 1.5_cursor.json"),
        QStringLiteral("A 1.5_merged_preview.mov"), QStringLiteral("A 1.5.mp4")};
    for (const QString& name : names) {
        for (const QString& path : {home.file(QStringLiteral("r/") + name), QString(QStringLiteral("~/r/") + name)}) {
            const Result<Take> take = Take::load(path);
            ASSERT_TRUE(take) << path.toStdString();
            EXPECT_EQ(take->base, QStringLiteral("A 1.5"));
            EXPECT_EQ(take->dir, QUrl::fromLocalFile(home.file(QStringLiteral("r"))));
            EXPECT_EQ(take->screenURL.toLocalFile(), home.file(QStringLiteral("r/A 1.5.mov")));
        }
    }
}

TEST(Take, loadDoubleSidecarSuffixRemovesEachOnceInOrder)
{
    const TemporaryHome home;
    home.write(QStringLiteral("A_webcam.mov"), "movie");
    const Result<Take> take = Take::load(home.file(QStringLiteral("A_webcam_transcript.json")));
    ASSERT_TRUE(take);
    EXPECT_EQ(take->base, QStringLiteral("A_webcam"));
}

TEST(Take, loadWithoutScreenMovieFailsWithThePathTested)
{
    const TemporaryHome home;
    home.write(QStringLiteral("A_sync.json"), R"({"screenFileName":"50% #1.mov"})");
    const Result<Take> missing = Take::load(folderOf(home), QStringLiteral("A"));
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error(),
        (Error{QStringLiteral("Take"), 1,
            QStringLiteral("No screen file at ") + home.file(QStringLiteral("50% #1.mov"))}));

    home.write(QStringLiteral("50% #1.mov"), "movie");
    EXPECT_TRUE(Take::load(folderOf(home), QStringLiteral("A")));
}

TEST(Take, loadBrokenSidecarsFallsBackToDefaults)
{
    const TemporaryHome home;
    home.write(QStringLiteral("A.mov"), "movie");
    const QByteArray syncs[] = {"", "[1]", "{", "\xff\xfe{}",
        R"({"screenFileName":7,"webcamFileName":null,"webcamOffsetFromScreenMs":"12","screenAudioStartMs":true,"recorder":[]})"};
    for (const QByteArray& sync : syncs) {
        home.write(QStringLiteral("A_sync.json"), sync);
        home.write(QStringLiteral("A_transcript.json"), "{\"aligned\":true");
        const Result<Take> take = Take::load(folderOf(home), QStringLiteral("A"));
        ASSERT_TRUE(take) << sync.toStdString();
        Take expected;
        expected.base = QStringLiteral("A");
        expected.dir = folderOf(home);
        expected.screenURL = QUrl::fromLocalFile(home.file(QStringLiteral("A.mov")));
        expected.recorder = QStringLiteral("corvane");
        EXPECT_EQ(*take, expected);
    }
}

TEST(Take, loadNamesInASyncFileStayInTheFolder)
{
    const TemporaryHome home;
    const QUrl dir = QUrl::fromLocalFile(home.file(QStringLiteral("takes")));
    const QString diary = home.write(QStringLiteral("Private/diary.mov"), "diary");
    const QString screen = home.write(QStringLiteral("takes/A.mov"), "screen");
    home.write(QStringLiteral("takes/sub/other.mov"), "other");
    const QString inside = home.write(QStringLiteral("takes/..other.mov"), "other");
    QFile::link(diary, home.file(QStringLiteral("takes/out.mov")));
    QFile::link(QStringLiteral("out.mov"), home.file(QStringLiteral("takes/further.mov")));
    const QString link = home.file(QStringLiteral("takes/in.mov"));
    QFile::link(QStringLiteral("..other.mov"), link);
    const struct {
        QByteArray name;
        QString opened;
    } cases[] = {
        {"../Private/diary.mov", screen},
        {diary.toUtf8(), screen},
        {"sub/../../Private/diary.mov", screen},
        {"sub/other.mov", screen},
        {"..", screen},
        {".", screen},
        {"", screen},
        {"out.mov", screen},
        {"further.mov", screen},
        {"in.mov", link},
        {"..other.mov", inside},
    };
    for (const auto& each : cases) {
        home.write(QStringLiteral("takes/A_sync.json"),
            R"({"screenFileName":")" + each.name + R"(","webcamFileName":")" + each.name + "\"}");
        const Result<Take> take = Take::load(dir, QStringLiteral("A"));
        ASSERT_TRUE(take) << each.name.toStdString();
        EXPECT_EQ(take->screenURL.toLocalFile(), each.opened) << each.name.toStdString();
        const QString webcam = take->webcamURL.value_or(QUrl()).toLocalFile();
        EXPECT_EQ(webcam, each.opened == screen ? QString() : each.opened) << each.name.toStdString();
        EXPECT_TRUE(take->isSelfContained());
    }

    // A link of the usual name is the owner's own; it opens, but the take is known to reach outside.
    QFile::remove(screen);
    QFile::link(diary, screen);
    const Result<Take> linked = Take::load(dir, QStringLiteral("A"));
    ASSERT_TRUE(linked);
    EXPECT_EQ(linked->screenURL.toLocalFile(), inside) << "the sync file still names it";
    home.write(QStringLiteral("takes/A_sync.json"), "{}");
    EXPECT_FALSE(Take::load(dir, QStringLiteral("A"))->isSelfContained());
}

TEST(Take, loadWordsOnWebcamClockMovesThemOntoTheScreenClock)
{
    struct Case {
        const char* timeBase;
        bool hasWebcam;
        double offset;
        double start;
        double end;
    };
    const Case cases[] = {
        {"", true, 250, 350, 550},
        {R"("timeBase":"webcam",)", true, 250, 350, 550},
        {R"("timeBase":"screenFile",)", true, 250, 100, 300},
        {"", false, 250, 100, 300},
        {"", true, 0, 100, 300},
        {"", true, -200, 0, 100},
        {"", true, -900, 0, 0},
    };
    for (const Case& c : cases) {
        const TemporaryHome home;
        home.write(QStringLiteral("A.mov"), "movie");
        if (c.hasWebcam)
            home.write(QStringLiteral("face.mov"), "movie");
        home.write(QStringLiteral("A_sync.json"),
            R"({"webcamFileName":"face.mov","recorder":"other","screenAudioStartMs":12.5,"webcamOffsetFromScreenMs":)"
                + QByteArray::number(c.offset) + "}");
        home.write(QStringLiteral("A_transcript.json"), QByteArray("{") + c.timeBase + (oneWord + 1));
        const Result<Take> take = Take::load(folderOf(home), QStringLiteral("A"));
        ASSERT_TRUE(take);
        EXPECT_EQ(take->words, (std::vector<Word>{{QStringLiteral("a"), c.start, c.end, std::nullopt}}))
            << c.timeBase << c.offset;
        EXPECT_EQ(take->webcamOffsetMs, c.offset);
        EXPECT_EQ(take->webcamURL.has_value(), c.hasWebcam);
        EXPECT_EQ(take->screenAudioStartMs, 12.5);
        EXPECT_EQ(take->recorder, QStringLiteral("other"));
        EXPECT_TRUE(take->aligned);
    }
}

TEST(TakeListing, listFolderGivesCompleteTakesNewestFirst)
{
    const TemporaryHome home;
    const QDateTime noon(QDate(2026, 3, 1), QTime(12, 0));
    for (const char* name : {"old.mov", "new.mp4", "mid.mov", "movieOnly.mov"})
        home.write(QString::fromLatin1(name), "movie");
    for (const char* name : {"old_sync.json", "new_sync.json", "mid_sync.json", "syncOnly_sync.json"})
        home.write(QString::fromLatin1(name), "{}");
    setModified(home.file(QStringLiteral("old_sync.json")), noon.addDays(-1));
    setModified(home.file(QStringLiteral("mid_sync.json")), noon);
    setModified(home.file(QStringLiteral("new_sync.json")), noon.addDays(1));
    home.write(QStringLiteral("lost.mov"), "movie");
    ASSERT_TRUE(QFile::link(QStringLiteral("/nowhere/at/all"), home.file(QStringLiteral("lost_sync.json"))));

    const auto listings = Take::list(folderOf(home));
    EXPECT_EQ(bases(listings), QStringLiteral("new mid old lost"));
    EXPECT_EQ(listings[0].url, QUrl::fromLocalFile(home.file(QStringLiteral("new.mov"))));
    EXPECT_EQ(listings[1].date, noon);
    EXPECT_TRUE(Take::list(QUrl::fromLocalFile(home.file(QStringLiteral("absent")))).empty());
}

TEST(TakeListing, listEqualDatesKeepsTheDirectoryOrder)
{
    const TemporaryHome home;
    const QDateTime noon(QDate(2026, 3, 1), QTime(12, 0));
    for (int i = 0; i < 40; ++i) {
        const QString base = QStringLiteral("t%1").arg(i * 7919 % 40);
        home.write(base + QLatin1String(".mov"), "movie");
        setModified(home.write(base + QLatin1String("_sync.json"), "{}"), noon);
    }
    QStringList directoryOrder;
    for (const QString& name : QDir(home.path()).entryList(QDir::Files, QDir::Unsorted)) {
        if (name.endsWith(QLatin1String("_sync.json")))
            directoryOrder.append(name.chopped(10));
    }
    EXPECT_EQ(bases(Take::list(folderOf(home))), directoryOrder.join(QLatin1Char(' ')));
}

TEST(Take, recordingsDirFollowsTheEnvironment)
{
    const TemporaryHome home;
    qputenv("CORVANE_TAKES_DIR", "~/x/../takes");
    EXPECT_EQ(Take::recordingsDir().toLocalFile(), QStringLiteral("~/x/../takes"));
    qputenv("CORVANE_TAKES_DIR", "");
    EXPECT_EQ(Take::recordingsDir().toLocalFile(),
        home.path() + QLatin1String("/Library/Application Support/Corvane/Recordings"));
    qunsetenv("CORVANE_TAKES_DIR");
}
