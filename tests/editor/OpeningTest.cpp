#include "tests/editor/EditorFixture.h"

#include <QSignalSpy>

namespace kelmo {

namespace {

class Opening : public EditorFixture { };

} // namespace

TEST_F(Opening, openWithoutAScreenMovieKeepsTheTakeThatIsOpen)
{
    openTalk(QStringLiteral("talk"), 4, TakeFolder::talk(4));
    m_editor->toggleWords({1});
    const QString missing = m_takes.movie(QStringLiteral("gone"));
    int opens = 0;
    m_editor->onOpen = [&] { ++opens; };
    m_editor->open(missing);
    EXPECT_EQ(opens, 1);
    EXPECT_EQ(m_editor->status(), QString(QStringLiteral("No screen file at ") % missing));
    EXPECT_EQ(logged(QStringLiteral("error")),
        QStringList{QStringLiteral("open failed: No screen file at ") % missing % QStringLiteral(" (Take 1)")});
    EXPECT_EQ(m_editor->take()->base, QStringLiteral("talk"));
    EXPECT_EQ(m_editor->undo().count(), 1);
    EXPECT_TRUE(m_editor->built());
    m_editor->open(m_takes.movie(QStringLiteral("talk")));
    EXPECT_EQ(m_editor->status(), std::nullopt) << "a take that opens clears the message";
}

TEST_F(Opening, openResetsEverythingOfTheTakeBefore)
{
    openTalk(QStringLiteral("one"), 30, TakeFolder::talk(30));
    m_editor->toggleWords({1});
    ASSERT_FALSE(m_editor->trim(3000, std::nullopt, QStringLiteral("Trim")));
    m_editor->tick(9000);
    m_editor->splitAtPlayhead();
    m_editor->setSelection(Span{4000, 5000});
    m_editor->beginTrimPreview();
    ASSERT_EQ(m_editor->splits().size(), 1U);
    const int cutRevision = m_editor->cutRevision();
    const int takeRevision = m_editor->takeRevision();

    m_takes.makeMovie(QStringLiteral("two"), 2);
    m_editor->open(m_takes.file(QStringLiteral("two_transcript.json"))); // Any file of a take will do.
    EXPECT_EQ(m_editor->take()->base, QStringLiteral("two"));
    EXPECT_TRUE(m_editor->words().empty());
    EXPECT_EQ(m_editor->cuts(), Cuts());
    EXPECT_FALSE(m_editor->selection());
    EXPECT_TRUE(m_editor->splits().empty());
    EXPECT_FALSE(m_editor->isTrimPreviewing());
    EXPECT_EQ(m_editor->undo().count(), 0);
    EXPECT_FALSE(m_editor->loaded());
    EXPECT_FALSE(m_editor->built());
    EXPECT_EQ(m_editor->sourceDurationMs(), 0);
    EXPECT_EQ(m_editor->timeline(), Timeline());
    EXPECT_EQ(m_editor->fullTimeline(), Timeline());
    EXPECT_EQ(m_editor->playhead().ms(), 0);
    EXPECT_EQ(m_editor->fillerCount(), 0);
    EXPECT_GT(m_editor->cutRevision(), cutRevision);
    EXPECT_GT(m_editor->takeRevision(), takeRevision);
    EXPECT_EQ(m_editor->trim(0, 1000, QStringLiteral("Trim")), QStringLiteral("No take open"));
    ASSERT_TRUE(waitUntil([&] { return m_editor->built() != nullptr; }));
    EXPECT_EQ(m_editor->timeline().durationMs, 2000);
}

TEST_F(Opening, openLogsWhatItFound)
{
    const QString base = QStringLiteral("2024-05-02 10.11.12");
    CodedMovie screen = m_takes.talkingMovie(base % QStringLiteral(".mov"), 2);
    screen.spec.audio.resize(2);
    make(screen);
    make(m_takes.talkingMovie(base % QStringLiteral("_webcam.mov"), 2));
    m_takes.writeSync(base, {{QStringLiteral("webcamOffsetFromScreenMs"), 120}});
    m_takes.writeTranscript(base, TakeFolder::talk(2), Aligned::Yes);
    std::optional<Take> ready;
    m_editor->onTakeReady = [&](const Take& take) {
        ready = take;
        EXPECT_TRUE(m_editor->built()) << "ready only when there is something to show";
    };
    openLoaded(base);
    ASSERT_TRUE(ready);
    EXPECT_EQ(ready->base, base);
    EXPECT_EQ(loggedLike(QStringLiteral("timing"),
                  QStringLiteral(R"(open 2024-05-02 10\.11\.12: files \+ transcript parsed in \d+ ms \(2 words, )"
                                 R"(webcam: true, offset 120\.0 ms, audioStart 0\.0 ms\))"))
                  .size(),
        1);
    EXPECT_EQ(loggedLike(QStringLiteral("timing"),
                  QStringLiteral(R"(tracks loaded at \d+ ms \(320×180 @ 30(\.0)? fps, 2\+1 audio, face: true\))"))
                  .size(),
        1)
        << qPrintable(logged(QStringLiteral("timing")).join(QLatin1Char('\n')));
}

TEST_F(Opening, openWithBrokenMediaKeepsTheWordsAndSaysWhy)
{
    m_takes.write(QStringLiteral("bad.mov"), QByteArray("this is no movie").repeated(500));
    m_takes.writeTranscript(QStringLiteral("bad"), TakeFolder::talk(3), Aligned::Yes);
    bool ready = false;
    m_editor->onTakeReady = [&](const Take&) { ready = true; };
    m_editor->open(m_takes.movie(QStringLiteral("bad")));
    ASSERT_TRUE(waitUntil([&] { return m_editor->status().has_value(); }));
    EXPECT_TRUE(m_editor->status()->startsWith(QStringLiteral("Couldn't open: "))) << qPrintable(*m_editor->status());
    EXPECT_TRUE(m_editor->status()->contains(QStringLiteral("bad.mov"))) << qPrintable(*m_editor->status());
    EXPECT_EQ(m_editor->words().size(), 3U);
    EXPECT_FALSE(m_editor->built());
    EXPECT_FALSE(ready);
    EXPECT_EQ(loggedLike(QStringLiteral("error"), QStringLiteral("open failed: .*bad\\.mov.*")).size(), 1);
}

TEST_F(Opening, openWithABrokenWebcamNamesTheWebcam)
{
    m_takes.makeMovie(QStringLiteral("face"), 2);
    m_takes.write(QStringLiteral("face_webcam.mov"), QByteArray());
    m_editor->open(m_takes.movie(QStringLiteral("face")));
    ASSERT_TRUE(waitUntil([&] { return m_editor->status().has_value(); }));
    EXPECT_TRUE(m_editor->status()->contains(QStringLiteral("face_webcam.mov"))) << qPrintable(*m_editor->status());
    EXPECT_FALSE(m_editor->loaded());
}

TEST_F(Opening, openAgainWhileTheFirstLoadsShowsOnlyTheLast)
{
    TakeFolder other;
    m_takes.makeMovie(QStringLiteral("talk"), 4);
    other.makeMovie(QStringLiteral("talk"), 9); // The same name in another folder.
    m_takes.makeMovie(QStringLiteral("last"), 6);
    int ready = 0;
    m_editor->onTakeReady = [&](const Take&) { ++ready; };
    const QString opened[] = {m_takes.movie(QStringLiteral("talk")), other.movie(QStringLiteral("talk")),
        m_takes.movie(QStringLiteral("last")), m_takes.movie(QStringLiteral("talk")),
        other.movie(QStringLiteral("talk"))};
    for (const QString& path : opened)
        m_editor->open(path);
    ASSERT_TRUE(waitUntil([&] { return ready > 0; }));
    wait(300);
    EXPECT_EQ(ready, 1);
    EXPECT_EQ(m_editor->sourceDurationMs(), 9000);
    EXPECT_EQ(m_editor->loaded()->assets.front()->path(), other.movie(QStringLiteral("talk")));
}

TEST_F(Opening, cutWordsBeforeTheMediaIsLoadedHolds)
{
    m_takes.makeMovie(QStringLiteral("talk"), 10);
    const std::vector<Word> words = TakeFolder::talk(10);
    m_takes.writeTranscript(QStringLiteral("talk"), words, Aligned::Yes);
    m_editor->open(m_takes.movie(QStringLiteral("talk")));
    ASSERT_FALSE(m_editor->loaded());
    m_editor->toggleWords({4, 9});
    const auto isCut = [&](size_t index) { return EditOps::isCut(words[index], m_editor->cuts().effective); };
    EXPECT_TRUE(isCut(4));
    EXPECT_TRUE(isCut(9)) << "the last word, although the end of the take is not known yet";
    ASSERT_TRUE(waitUntil([&] { return m_editor->loaded() != nullptr; }));
    EXPECT_TRUE(isCut(4) && isCut(9) && !isCut(8));
    EXPECT_EQ(m_editor->timeline(), Timeline(m_editor->cuts().keep(10'000)));
    EXPECT_EQ(undoText(), QStringLiteral("Delete Words"));
}

TEST_F(Opening, openNewestTakesTheLatestRecording)
{
    qputenv("CORVANE_TAKES_DIR", QFile::encodeName(m_takes.file(QString())));
    m_editor->openNewest();
    EXPECT_FALSE(m_editor->take()) << "an empty folder opens nothing";
    for (const int seconds : {3, 2}) {
        const QString base = QStringLiteral("take%1").arg(seconds);
        m_takes.makeMovie(base, seconds);
        m_takes.writeSync(base);
        m_takes.age(m_takes.file(base % QStringLiteral("_sync.json")), 1000.0 * seconds);
    }
    QSignalSpy listed(m_editor.get(), &Editor::takesChanged);
    m_editor->openNewest();
    qunsetenv("CORVANE_TAKES_DIR");
    EXPECT_EQ(listed.count(), 1);
    ASSERT_EQ(m_editor->takes().size(), 2U);
    EXPECT_EQ(m_editor->take()->base, QStringLiteral("take2"));
}

TEST_F(Opening, destroyingTheEditorWhileItLoadsIsSafe)
{
    make(m_takes.talkingMovie(QStringLiteral("talk.mov"), 10));
    m_takes.writeSync(QStringLiteral("talk"));
    for (int delay = 0; delay < 12; ++delay) {
        m_editor = std::make_unique<Editor>(Editor::Sound::Muted);
        m_editor->open(m_takes.movie(QStringLiteral("talk")));
        EXPECT_TRUE(m_editor->awaitingWords()) << "a watch runs, too";
        wait(delay);
        m_editor.reset();
        wait(0);
    }
}

} // namespace kelmo
