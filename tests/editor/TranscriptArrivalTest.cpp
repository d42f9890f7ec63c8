#include "tests/editor/EditorFixture.h"

#include <QSignalSpy>

namespace kelmo {

namespace {

const QString base = QStringLiteral("talk");

class TranscriptArrival : public EditorFixture {
protected:
    void SetUp() override { m_takes.makeMovie(base, 30); }

    /// Opens the take before its transcript is there.
    void openUntold(double recordedSecondsAgo)
    {
        m_takes.writeSync(base);
        m_takes.age(m_takes.file(base % QStringLiteral("_sync.json")), recordedSecondsAgo);
        openLoaded(base);
    }

    /// Opens the take with words whose times are to be aligned yet.
    void openUnaligned(const std::vector<Word>& words)
    {
        m_takes.writeTranscript(base, words, Aligned::No);
        openLoaded(base);
    }

    [[nodiscard]] bool becomesAligned()
    {
        return waitUntil([&] { return m_editor->take()->aligned; }, 5000);
    }
};

/// Words whose times moved differently each, as alignment moves them.
std::vector<Word> realigned(std::vector<Word> words)
{
    for (size_t i = 0; i < words.size(); ++i) {
        words[i].startMs += 20.0 * double(i % 5);
        words[i].endMs += 20.0 * double(i % 4) + 40;
    }
    return words;
}

} // namespace

TEST_F(TranscriptArrival, lateTranscriptOfAFreshRecordingIsAdopted)
{
    openUntold(10);
    EXPECT_TRUE(m_editor->awaitingWords());
    m_editor->setCuts({{{2500, 2900}}, 1000, Cuts::noTrimOut, {}}, QStringLiteral("Silence"));
    Cuts silence = m_editor->cuts();
    silence.refresh();
    m_editor->setCuts(silence, QStringLiteral("Silence"));
    const int revision = m_editor->takeRevision();

    m_takes.writeTranscript(base, TakeFolder::talk(30), Aligned::Yes);
    ASSERT_TRUE(waitUntil([&] { return !m_editor->words().empty(); }, 5000));
    EXPECT_FALSE(m_editor->awaitingWords());
    EXPECT_GT(m_editor->takeRevision(), revision);
    EXPECT_EQ(m_editor->words(), TakeFolder::talk(30));
    EXPECT_EQ(m_editor->take()->words, m_editor->words());
    EXPECT_EQ(m_editor->cuts(), silence) << "what was cut before keeps its place";
    EXPECT_EQ(m_editor->undo().count(), 0);
    EXPECT_EQ(m_editor->pauseCount(),
        int(EditOps::tightenSpans(m_editor->words(), silence.effective, 30'000, 400, 150).size()));
    EXPECT_EQ(loggedLike(QStringLiteral("timing"),
                  QStringLiteral(R"(late transcript adopted \d+ ms after open \(30 words, aligned: true\))"))
                  .size(),
        1);

    // It came aligned, so nothing is waited for any more.
    m_takes.writeTranscript(base, TakeFolder::talk(30, 50), Aligned::Yes);
    wait(500);
    EXPECT_EQ(m_editor->words(), TakeFolder::talk(30));
    EXPECT_TRUE(logged(QStringLiteral("align")).isEmpty());
}

TEST_F(TranscriptArrival, transcriptIsNotAwaitedWhenItIsEmptyOrTheRecordingIsOld)
{
    openUntold(10);
    std::optional<bool> told; // What a window reads when it hears of the change.
    QObject::connect(m_editor.get(), &Editor::takeChanged, m_editor.get(), [&] { told = m_editor->awaitingWords(); });
    openUntold(200);
    EXPECT_FALSE(m_editor->awaitingWords());
    EXPECT_EQ(told, false) << "the take before was awaited, this one is not";
    m_takes.writeTranscript(base, {}, Aligned::No);
    m_takes.writeSync(base);
    openLoaded(base);
    EXPECT_FALSE(m_editor->awaitingWords()) << "a transcript without words is simply empty";
    QFile::remove(m_takes.transcript(base));
    QFile::remove(m_takes.file(base % QStringLiteral("_sync.json")));
    openLoaded(base);
    EXPECT_FALSE(m_editor->awaitingWords()) << "no sync file, no recording that could be fresh";
}

TEST_F(TranscriptArrival, transcriptWrittenSlowlyIsAdoptedOnceWhole)
{
    openUntold(1);
    QSignalSpy changes(m_editor.get(), &Editor::takeChanged);
    const QByteArray json = TakeFolder::transcriptJson(TakeFolder::talk(30), Aligned::Yes);
    QFile file(m_takes.transcript(base));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    for (qsizetype at = 0; at < json.size(); at += json.size() / 6 + 1) {
        file.write(json.mid(at, json.size() / 6 + 1));
        file.flush();
        if (at + json.size() / 6 + 1 < json.size()) {
            wait(130);
            EXPECT_TRUE(m_editor->words().empty());
        }
    }
    file.close();
    ASSERT_TRUE(waitUntil([&] { return !m_editor->words().empty(); }, 5000));
    EXPECT_EQ(m_editor->words().size(), 30U);
    EXPECT_EQ(changes.count(), 1);
}

TEST_F(TranscriptArrival, transcriptHalfWrittenWhenTheTakeIsOpenedIsAdoptedOnceWhole)
{
    const QByteArray json = TakeFolder::transcriptJson(TakeFolder::talk(30), Aligned::Yes);
    QFile file(m_takes.transcript(base));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(json.left(json.size() / 2));
    file.flush();
    openUntold(1);
    EXPECT_TRUE(m_editor->awaitingWords());
    file.write(json.mid(json.size() / 2));
    file.close();
    EXPECT_TRUE(waitUntil([&] { return m_editor->words().size() == 30; }, 5000));
}

TEST_F(TranscriptArrival, transcriptFoundWhileTheTakeIsUnreadableIsNotMissed)
{
    openUntold(1);
    const QString hidden = m_takes.file(QStringLiteral("moved.mov"));
    ASSERT_TRUE(QFile::rename(m_takes.movie(base), hidden));
    m_takes.writeTranscript(base, TakeFolder::talk(5), Aligned::Yes);
    wait(400);
    EXPECT_TRUE(m_editor->awaitingWords());
    ASSERT_TRUE(QFile::rename(hidden, m_takes.movie(base)));
    EXPECT_TRUE(waitUntil([&] { return m_editor->words().size() == 5; }, 5000));
}

TEST_F(TranscriptArrival, lateUnalignedTranscriptIsAlignedAfterwards)
{
    openUntold(1);
    m_takes.writeTranscript(base, TakeFolder::talk(30), Aligned::No);
    ASSERT_TRUE(waitUntil([&] { return !m_editor->words().empty(); }, 5000));
    m_editor->toggleWords({4});
    m_takes.writeTranscript(base, realigned(TakeFolder::talk(30)), Aligned::Yes);
    ASSERT_TRUE(becomesAligned());
    EXPECT_EQ(
        m_editor->cuts().spans, (std::vector<Span>{EditOps::span(realigned(TakeFolder::talk(30)), 4, 4, 30'000)}));
    EXPECT_TRUE(logged(QStringLiteral("align")).isEmpty()) << "a fresh transcript is aligned without being asked for";
}

TEST_F(TranscriptArrival, alignedTimesMoveTheCutsWithTheirWords)
{
    const std::vector<Word> words = TakeFolder::talk(30);
    const std::vector<Word> moved = realigned(words);
    openUnaligned(words);
    m_editor->toggleWords({10, 11, 12});
    m_editor->toggleWords({20});
    Cuts cuts = m_editor->cuts();
    cuts.add({{15'750, 16'150}}); // In a silence that holds no word.
    m_editor->setCuts(cuts, QStringLiteral("Pause"));
    ASSERT_FALSE(m_editor->trim(
        EditOps::trimInBefore(3, words, 30'000), EditOps::trimOutAfter(26, words, 30'000), QStringLiteral("Trim")));
    const int cutRevision = m_editor->cutRevision();
    const int takeRevision = m_editor->takeRevision();

    m_takes.writeTranscript(base, moved, Aligned::Yes);
    ASSERT_TRUE(becomesAligned());
    EXPECT_EQ(m_editor->words(), moved);
    EXPECT_EQ(m_editor->cuts().spans,
        (std::vector<Span>{
            EditOps::span(moved, 10, 12, 30'000), {15'750, 16'150}, EditOps::span(moved, 20, 20, 30'000)}));
    EXPECT_EQ(m_editor->cuts().trimIn, EditOps::trimInBefore(3, moved, 30'000));
    EXPECT_EQ(m_editor->cuts().trimOut, EditOps::trimOutAfter(26, moved, 30'000));
    EXPECT_EQ(m_editor->timeline(), Timeline(m_editor->cuts().keep(30'000)));
    EXPECT_EQ(m_editor->undo().count(), 0);
    EXPECT_GT(m_editor->cutRevision(), cutRevision);
    EXPECT_GT(m_editor->takeRevision(), takeRevision);
    EXPECT_EQ(loggedLike(QStringLiteral("timing"),
                  QStringLiteral(R"(aligned word times applied \d+ ms after open \(4 cut words re-placed\))"))
                  .size(),
        1);
}

TEST_F(TranscriptArrival, alignedTimesLeaveATrimOffWordsWhereItIs)
{
    openUnaligned(TakeFolder::talk(30));
    ASSERT_FALSE(m_editor->trim(3333, 22'222, QStringLiteral("Trim")));
    m_takes.writeTranscript(base, realigned(TakeFolder::talk(30)), Aligned::Yes);
    ASSERT_TRUE(becomesAligned());
    EXPECT_EQ(keepNow(), (std::vector<Span>{{3333, 22'222}}));
}

TEST_F(TranscriptArrival, alignedTranscriptWithOtherWordsIsIgnored)
{
    openUnaligned(TakeFolder::talk(30));
    m_editor->toggleWords({3});
    const Cuts cuts = m_editor->cuts();
    const int revision = m_editor->takeRevision();
    m_takes.writeTranscript(base, TakeFolder::talk(29), Aligned::Yes);
    ASSERT_TRUE(waitUntil([&] { return !logged(QStringLiteral("align")).isEmpty(); }, 5000));
    EXPECT_EQ(logged(QStringLiteral("align")),
        QStringList{QStringLiteral("aligned transcript has 29 words, editor has 30; ignoring")});
    EXPECT_EQ(m_editor->words().size(), 30U);
    EXPECT_EQ(m_editor->cuts(), cuts);
    EXPECT_EQ(m_editor->undo().count(), 1);
    EXPECT_EQ(m_editor->takeRevision(), revision);
}

TEST_F(TranscriptArrival, transcriptOfATakeThatWasLeftChangesNothing)
{
    TakeFolder other;
    other.makeMovie(base, 4); // The same name in another folder.
    openUntold(1);
    m_takes.writeTranscript(base, TakeFolder::talk(30), Aligned::Yes);
    // The watch has read the file, or is about to, when the other take opens.
    for (int round = 0; round < 8; ++round) {
        wait(15 * round);
        m_editor->open(other.movie(base));
        wait(120);
        ASSERT_TRUE(m_editor->words().empty());
        ASSERT_EQ(m_editor->take()->dir, QUrl::fromLocalFile(QFileInfo(other.movie(base)).path()));
        QFile::remove(m_takes.transcript(base));
        m_editor->open(m_takes.movie(base));
        wait(60);
        m_takes.writeTranscript(base, TakeFolder::talk(30), Aligned::Yes);
    }
}

} // namespace kelmo
