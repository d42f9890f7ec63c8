#include "media/stack/encode/PartFile.h"
#include "tests/editor/EditorFixture.h"

#include <QCoroTask>
#include <QImage>
#include <QSignalSpy>

#include <sys/mount.h>

namespace kelmo {

namespace {

using Export = QCoro::Task<Result<ExportResult>>;
const QString writer = QStringLiteral("writer");

/// Where the calling thread stands, in milliseconds of the clock and of its own processor time.
struct Moment {
    double ms;
    double workedMs;

    [[nodiscard]] static Moment now() { return {read(CLOCK_MONOTONIC), read(CLOCK_THREAD_CPUTIME_ID)}; }

private:
    [[nodiscard]] static double read(clockid_t clock)
    {
        timespec time{};
        clock_gettime(clock, &time);
        return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
    }
};

class EditorExport : public EditorFixture {
protected:
    void openMovie(int seconds)
    {
        make(m_takes.talkingMovie(QStringLiteral("a talk.mov"), seconds));
        openLoaded(QStringLiteral("a talk"));
    }

    [[nodiscard]] Export start(std::optional<Codec> codec = Codec::H264)
    {
        return m_editor->exportVideo(codec, std::nullopt, std::nullopt, writer);
    }

    [[nodiscard]] QDir movies() const { return QDir(m_home.path() % QStringLiteral("/Movies/Vorlix")); }
    [[nodiscard]] QStringList written() const { return movies().entryList(QDir::Files | QDir::Hidden); }
};

} // namespace

TEST_F(EditorExport, exportReportsItsFileItsProgressAndItsTimes)
{
    openMovie(3);
    m_editor->setCuts({{{1000, 1500}}, 0, Cuts::noTrimOut, {{1000, 1500}}}, QStringLiteral("Cut"));
    std::vector<double> progress;
    QStringList statuses;
    QObject::connect(m_editor.get(), &Editor::exportChanged, m_editor.get(),
        [&] { progress.push_back(m_editor->exportProgress().value_or(-1)); });
    QObject::connect(m_editor.get(), &Editor::statusChanged, m_editor.get(),
        [&] { statuses.append(m_editor->status().value_or(QString())); });
    const QDateTime before = QDateTime::currentDateTimeUtc();
    Export task = start(std::nullopt);
    EXPECT_EQ(m_editor->exportProgress(), 0);
    const Result<ExportResult> result = QCoro::waitFor(task);
    ASSERT_TRUE(result) << qPrintable(userText(result.error()));

    EXPECT_NEAR(result->durationMs, 2500, 30);
    EXPECT_GT(result->elapsedMs, 0);
    const QFileInfo file(result->path);
    EXPECT_EQ(file.dir(), movies());
    const QString name = file.fileName();
    ASSERT_TRUE(name.startsWith(QStringLiteral("a talk-hevc-")) && name.endsWith(QStringLiteral("Z.mp4")));
    QString stamp = name.mid(12).chopped(4);
    EXPECT_EQ(stamp.count(QLatin1Char('.')), 2);
    const QDateTime named = QDateTime::fromString(stamp.replace(QLatin1Char('.'), QLatin1Char(':')), Qt::ISODate);
    EXPECT_LE(std::abs(before.msecsTo(named)), 2000) << qPrintable(name);
    EXPECT_EQ(written(), QStringList{name});

    ASSERT_EQ(statuses.size(), 2) << qPrintable(statuses.join(QLatin1Char('|')));
    EXPECT_EQ(statuses[0], QStringLiteral("Exporting HEVC…"));
    EXPECT_EQ(statuses[1],
        QString(QStringLiteral("Exported ") % name % QStringLiteral(" in ")
            % QString::number(result->elapsedMs / 1000, 'f', 1) % QStringLiteral(" s")));
    ASSERT_GE(progress.size(), 4U);
    EXPECT_EQ(progress.front(), 0);
    EXPECT_EQ(progress.back(), -1) << "none when idle";
    for (size_t i = 1; i + 1 < progress.size(); ++i)
        EXPECT_GT(progress[i], progress[i - 1]);
    EXPECT_EQ(
        loggedLike(QStringLiteral("timing"),
            QStringLiteral(R"(export HEVC native30 \[writer\] 2\.5 s of output in \d+ ms \(\d+\.\d× realtime\) → )")
                % QRegularExpression::escape(result->path))
            .size(),
        1);

    Export session = m_editor->exportVideo(Codec::H264, 90, 10, QStringLiteral("session"));
    ASSERT_TRUE(QCoro::waitFor(session));
    EXPECT_EQ(loggedLike(QStringLiteral("timing"), QStringLiteral(R"(export H\.264 preset \[session\] .*)")).size(), 1);
    m_editor->setExportHeight(90);
    m_editor->setExportFPS(15);
    Export small = start();
    ASSERT_TRUE(QCoro::waitFor(small));
    EXPECT_EQ(loggedLike(QStringLiteral("timing"), QStringLiteral(R"(export H\.264 90p15 \[writer\] .*)")).size(), 1);
    Export native = m_editor->exportVideo(Codec::H264, 0, 20, writer); // An argument of 0 overrules the setting.
    ASSERT_TRUE(QCoro::waitFor(native));
    EXPECT_EQ(
        loggedLike(QStringLiteral("timing"), QStringLiteral(R"(export H\.264 native20 \[writer\] .*)")).size(), 1);
}

TEST_F(EditorExport, exportUnderANameThatIsTakenCountsOn)
{
    openMovie(1);
    // As if exports had been made in each of the seconds in which this one may start; the last of them still run.
    const QDateTime now = QDateTime::currentDateTimeUtc();
    std::vector<std::unique_ptr<PartFile>> running;
    for (int i = 0; i < 60; ++i) {
        const QString stamp = now.addSecs(i).toString(Qt::ISODate).replace(QLatin1Char(':'), QLatin1Char('.'));
        const QString stem = QStringLiteral("Movies/Vorlix/a talk-h264-") % stamp;
        m_home.write(stem % QStringLiteral(".mp4"), "the first");
        Result<std::unique_ptr<PartFile>> second = PartFile::create(m_home.file(stem % QStringLiteral(" 2.mp4")));
        ASSERT_TRUE(second);
        running.push_back(std::move(*second));
    }
    const qsizetype before = written().size();
    Export task = start();
    const Result<ExportResult> result = QCoro::waitFor(task);
    ASSERT_TRUE(result) << qPrintable(userText(result.error()));
    EXPECT_TRUE(result->path.endsWith(QStringLiteral("Z 3.mp4"))) << qPrintable(result->path);
    EXPECT_EQ(written().size(), before + 1);
}

TEST_F(EditorExport, exportWithoutATakeOrWhileOneRunsIsRefused)
{
    Result<ExportResult> result = QCoro::waitFor(start());
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error(), (Error{QStringLiteral("Editor"), 1, QStringLiteral("No take open")}));
    const Result<QByteArray> picture = QCoro::waitFor(m_editor->frame(0, 100));
    ASSERT_FALSE(picture);
    EXPECT_EQ(picture.error(), result.error());

    openMovie(5);
    Export first = start();
    result = QCoro::waitFor(start());
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error(), (Error{QStringLiteral("Editor"), 3, QStringLiteral("An export is already running")}));
    m_editor->toggleWords({0}); // Editing goes on meanwhile,
    m_editor->open(m_takes.movie(QStringLiteral("none"))); // and so does opening.
    result = QCoro::waitFor(first);
    ASSERT_TRUE(result) << qPrintable(userText(result.error()));
    EXPECT_EQ(written().size(), 1);
}

TEST_F(EditorExport, exportOfAnEditWithNothingLeftSaysSo)
{
    openMovie(2);
    Cuts all;
    all.add({{0, 99'000}});
    m_editor->setCuts(all, QStringLiteral("All"));
    QCoro::waitFor(m_editor->exportFromUI());
    EXPECT_EQ(m_editor->status(), QStringLiteral("Export failed: There is nothing left to export"));
    EXPECT_EQ(logged(QStringLiteral("error")),
        QStringList{QStringLiteral("export failed: There is nothing left to export (Export 4)")});
    EXPECT_EQ(m_editor->exportProgress(), std::nullopt);
    EXPECT_TRUE(QCoro::waitFor(m_editor->frame(0, 100))) << "there is a picture all the same: black";
}

TEST_F(EditorExport, cancelExportStopsSoonAndLeavesNothing)
{
    openMovie(60);
    for (const int delay : {0, 30, 400}) {
        Export task = start(Codec::Hevc);
        wait(delay);
        QElapsedTimer sinceCancel;
        sinceCancel.start();
        m_editor->cancelExport();
        const Result<ExportResult> result = QCoro::waitFor(task);
        EXPECT_LT(sinceCancel.elapsed(), 3000);
        ASSERT_FALSE(result);
        EXPECT_EQ(result.error().description, QStringLiteral("The export was cancelled"));
        EXPECT_EQ(m_editor->exportProgress(), std::nullopt);
        EXPECT_TRUE(written().isEmpty());
    }
    m_editor->cancelExport(); // With none running.

    QCoro::Task<void> fromUI = m_editor->exportFromUI();
    m_editor->cancelExport();
    QCoro::waitFor(fromUI);
    EXPECT_EQ(m_editor->status(), QStringLiteral("Export cancelled")) << "no failure: it is what was asked for";
    EXPECT_EQ(m_editor->statusKind(), Editor::StatusKind::Notice);
}

TEST_F(EditorExport, destroyingTheEditorDuringExportsAndGrabsIsSafe)
{
    make(m_takes.talkingMovie(QStringLiteral("a talk.mov"), 30));
    for (const int delay : {0, 5, 60, 250}) {
        m_editor = std::make_unique<Editor>(Editor::Sound::Muted);
        openLoaded(QStringLiteral("a talk"));
        Export exporting = start();
        std::vector<QCoro::Task<Result<QByteArray>>> grabs;
        for (int i = 0; i < 8; ++i)
            grabs.push_back(m_editor->frame(3000.0 * i, 200));
        QCoro::Task<void> refused = m_editor->exportFromUI();
        wait(delay);
        m_editor.reset();
        const Result<ExportResult> result = QCoro::waitFor(exporting);
        EXPECT_FALSE(result);
        for (auto& grab : grabs)
            (void)QCoro::waitFor(grab); // Made or given up, but over.
        EXPECT_TRUE(written().isEmpty());
    }
}

TEST_F(EditorExport, exportIntoAnUnwritableFolderBecomesTheStatus)
{
    openMovie(1);
    m_home.write(QStringLiteral("Movies"), "a file where the folder should be");
    QCoro::waitFor(m_editor->exportFromUI());
    const QString status = m_editor->status().value_or(QString());
    EXPECT_TRUE(status.startsWith(QStringLiteral("Export failed: "))) << qPrintable(status);
    EXPECT_TRUE(status.contains(QStringLiteral("Movies/Vorlix"))) << qPrintable(status);
    EXPECT_EQ(m_editor->exportProgress(), std::nullopt);
}

TEST_F(EditorExport, exportOntoAFullDiskSaysSoAndLeavesNothing)
{
    openMovie(5);
    const QByteArray folder = QFile::encodeName(m_home.file(QStringLiteral("Movies/Vorlix/x"))).chopped(2);
    Export whole = start(std::nullopt);
    const Result<ExportResult> fits = QCoro::waitFor(whole);
    ASSERT_TRUE(fits);
    const qint64 size = QFileInfo(fits->path).size();
    QFile::remove(fits->path);
    // Room for nothing, for some of the media, for all of it but not for the index, which comes last.
    for (const qint64 room : {qint64(4096), size / 3, size * 9 / 10, size - 4096, size - 1}) {
        const QByteArray options = "size=" + QByteArray::number(room / 4096 * 4096);
        if (::mount("tmpfs", folder.constData(), "tmpfs", 0, options.constData()) != 0)
            GTEST_SKIP() << "mounting a small disk takes root";
        QCoro::waitFor(m_editor->exportFromUI());
        const QString status = m_editor->status().value_or(QString());
        const QStringList left = written();
        ASSERT_EQ(::umount(folder.constData()), 0);
        EXPECT_TRUE(status.startsWith(QStringLiteral("Export failed: Can’t write a talk-hevc-"))
            && status.endsWith(QStringLiteral(": the disk is full")))
            << room << " of " << size << ": " << qPrintable(status);
        EXPECT_TRUE(left.isEmpty()) << room;
        EXPECT_EQ(m_editor->exportProgress(), std::nullopt);
    }
}

TEST_F(EditorExport, mainThreadIsNeverBlockedByMedia)
{
    CodedMovie screen = m_takes.talkingMovie(QStringLiteral("a talk.mov"), 8);
    screen.spec.video->width = 1280;
    screen.spec.video->height = 720;
    make(screen);
    make(m_takes.talkingMovie(QStringLiteral("a talk_webcam.mov"), 8));
    m_takes.writeSync(QStringLiteral("a talk"));
    QTimer ticking;
    Moment last = Moment::now();
    double longest = 0; // All in milliseconds.
    double workInLongest = 0;
    double maxWork = 0;
    QObject::connect(&ticking, &QTimer::timeout, &ticking, [&] {
        const Moment now = Moment::now();
        const double work = now.workedMs - last.workedMs;
        maxWork = std::max(maxWork, work);
        if (now.ms - last.ms > longest) {
            longest = now.ms - last.ms;
            workInLongest = work;
        }
        last = now;
    });
    ticking.start(1);
    QEventLoop loading; // Waiting for a condition would sleep in between.
    m_editor->onTakeReady = [&](const Take&) { loading.quit(); };
    m_editor->open(m_takes.movie(QStringLiteral("a talk")));
    QTimer::singleShot(10'000, &loading, &QEventLoop::quit);
    loading.exec();
    m_editor->onTakeReady = nullptr;
    ASSERT_TRUE(m_editor->loaded());
    Export exporting = start();
    std::vector<QCoro::Task<Result<QByteArray>>> grabs;
    for (int i = 0; i < 6; ++i)
        grabs.push_back(m_editor->frame(1300.0 * i, 500));
    m_takes.writeTranscript(QStringLiteral("a talk"), TakeFolder::talk(8), Aligned::Yes);
    for (auto& grab : grabs)
        EXPECT_TRUE(QCoro::waitFor(grab));
    m_editor->toggleWords({3});
    EXPECT_TRUE(QCoro::waitFor(exporting));
    EXPECT_EQ(m_editor->words().size(), 8U);
    std::printf("longest gap on the main thread: %.1f ms, of it work: %.1f ms; most work in a gap: %.1f ms\n", longest,
        workInLongest, maxWork);
    EXPECT_LT(maxWork, 10); // Other processes cannot add to this, only to the gap.
    EXPECT_LT(longest, 250); // Waiting for media takes longer.
}

} // namespace kelmo
