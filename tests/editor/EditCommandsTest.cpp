#include "tests/editor/EditorFixture.h"

#include <random>

namespace kelmo {

namespace {

constexpr double talkMs = 30'000;

class EditCommands : public EditorFixture {
protected:
    void SetUp() override { openTalk(QStringLiteral("talk"), 30, m_words); }

    [[nodiscard]] Span wordSpan(int lo, int hi) const { return EditOps::span(m_words, lo, hi, talkMs); }

    void expectConsistent() const
    {
        Cuts fresh = m_editor->cuts();
        fresh.refresh();
        ASSERT_EQ(fresh, m_editor->cuts()) << "the effective cuts are stale";
        ASSERT_EQ(m_editor->timeline(), Timeline(m_editor->cuts().keep(talkMs)));
        ASSERT_EQ(m_editor->built()->timeline, m_editor->timeline());
        fresh.trimIn = 0;
        fresh.trimOut = Cuts::noTrimOut;
        fresh.refresh();
        ASSERT_EQ(m_editor->fullTimeline(), Timeline(fresh.keep(talkMs)));
        ASSERT_EQ(m_editor->pauseCount(),
            int(EditOps::tightenSpans(m_words, m_editor->cuts().effective, talkMs, 400, 150).size()));
        ASSERT_GE(m_editor->playhead().ms(), 0);
        ASSERT_LE(m_editor->playhead().ms(), m_editor->timeline().durationMs);
    }

    std::vector<Word> m_words = TakeFolder::talk(30);
};

} // namespace

TEST_F(EditCommands, everyCommandIsOneNamedStepThatUndoesAndRedoes)
{
    struct Row {
        const char* name;
        std::function<void(Editor&)> run;
    };
    const Row rows[] = {
        {"Delete Words",
            [](Editor& e) {
                e.toggleWords({3, 4, 9});
            }},
        {"Restore Words", [](Editor& e) { e.toggleWords({4}); }},
        {"Restore Ranges",
            [](Editor& e) {
                e.restoreRanges({{9000, 10500}});
            }},
        {"Delete Range",
            [](Editor& e) {
                e.setSelection(Span{12000, 13500});
                e.deleteSelection();
            }},
        {"Tighten Pauses", [](Editor& e) { e.tightenPauses(); }},
        {"Trim Start",
            [](Editor& e) {
                e.tick(2000);
                e.trimStartToPlayhead();
            }},
        {"Trim End",
            [](Editor& e) {
                e.tick(8000);
                e.trimEndToPlayhead();
            }},
        {"Clear Trim", [](Editor& e) { e.clearTrim(); }},
        {"Drag Handle", [](Editor& e) { EXPECT_FALSE(e.trim(1500, 20000, QStringLiteral("Drag Handle"))); }},
        {"Agent Edit", [](Editor& e) { e.setCuts(Cuts(), QStringLiteral("Agent Edit")); }},
    };
    std::vector<Cuts> states{m_editor->cuts()};
    for (const Row& row : rows) {
        const int revision = m_editor->cutRevision();
        row.run(*m_editor);
        EXPECT_EQ(undoText(), QString::fromLatin1(row.name));
        EXPECT_EQ(m_editor->undo().count(), int(states.size()));
        EXPECT_GT(m_editor->cutRevision(), revision);
        EXPECT_FALSE(m_editor->selection());
        EXPECT_NE(m_editor->cuts(), states.back()) << row.name;
        expectConsistent();
        states.push_back(m_editor->cuts());
        EXPECT_EQ(loggedLike(QStringLiteral("timing"),
                      QStringLiteral(R"(edit → preview updated \(%1\): \d+ ms \[build \d+ ms, %2 segments\])")
                          .arg(QString::fromLatin1(row.name))
                          .arg(keepNow().size()))
                      .size(),
            1);
    }
    for (size_t i = states.size() - 1; i > 0; --i) {
        const int revision = m_editor->cutRevision();
        m_editor->undo().undo();
        EXPECT_EQ(m_editor->cuts(), states[i - 1]) << "undoing " << rows[i - 1].name;
        EXPECT_EQ(m_editor->undo().redoText(), QString::fromLatin1(rows[i - 1].name));
        EXPECT_GT(m_editor->cutRevision(), revision);
        expectConsistent();
    }
    EXPECT_FALSE(m_editor->undo().canUndo());
    for (size_t i = 1; i < states.size(); ++i) {
        m_editor->undo().redo();
        EXPECT_EQ(m_editor->cuts(), states[i]) << "redoing " << rows[i - 1].name;
    }
    EXPECT_FALSE(m_editor->undo().canRedo());
}

TEST_F(EditCommands, editThatChangesNothingIsNoStep)
{
    m_editor->toggleWords({5});
    const Cuts before = m_editor->cuts();
    const int revision = m_editor->cutRevision();
    m_editor->setSelection(Span{1000, 2000});
    m_editor->setCuts(before, QStringLiteral("Same"));
    EXPECT_FALSE(m_editor->selection()) << "even an edit that changes nothing ends the selection";
    m_editor->toggleWords({});
    m_editor->toggleWords({-1, 30, 1'000'000});
    m_editor->restoreRanges({{20000, 21000}, {4000, 4000}, {6000, 5000}});
    m_editor->deleteSelection();
    m_editor->clearTrim();
    EXPECT_FALSE(m_editor->trim(0.5, talkMs - 0.5, QStringLiteral("Trim")));
    m_editor->cutFillers();
    EXPECT_EQ(m_editor->status(), QStringLiteral("Cut 0 fillers"));
    EXPECT_EQ(m_editor->cuts(), before);
    EXPECT_EQ(m_editor->cutRevision(), revision);
    EXPECT_EQ(m_editor->undo().count(), 1);
    EXPECT_EQ(undoText(), QStringLiteral("Delete Words"));
}

TEST_F(EditCommands, undoReachesBackTwoHundredEdits)
{
    std::vector<Cuts> states;
    for (int i = 0; i < 250; ++i) {
        Cuts cuts = m_editor->cuts();
        cuts.add({{i * 100.0, i * 100.0 + 30}});
        m_editor->setCuts(cuts, QStringLiteral("Step %1").arg(i));
        states.push_back(m_editor->cuts());
    }
    EXPECT_EQ(undoText(), QStringLiteral("Step 249"));
    for (int i = 249; i >= 50; --i) {
        m_editor->undo().undo();
        ASSERT_EQ(m_editor->cuts(), states[size_t(i) - 1]);
    }
    EXPECT_FALSE(m_editor->undo().canUndo()) << "older steps are forgotten";
    EXPECT_EQ(m_editor->undo().redoText(), QStringLiteral("Step 50"));
    EXPECT_EQ(m_editor->undo().count(), 200);
    // An edit after undoing drops what could be redone.
    m_editor->toggleWords({29});
    EXPECT_FALSE(m_editor->undo().canRedo());
}

TEST_F(EditCommands, toggleWordsMixedOrTrimmedCutsOrBringsBack)
{
    m_editor->toggleWords({4});
    m_editor->toggleWords({3, 4, 5});
    EXPECT_EQ(m_editor->cuts().spans, (std::vector<Span>{wordSpan(3, 5)})) << "a mixed selection is cut as a whole";
    m_editor->toggleWords({3, 4, 5});
    EXPECT_TRUE(m_editor->cuts().spans.empty());

    ASSERT_FALSE(m_editor->trim(10'000, 20'000, QStringLiteral("Trim")));
    m_editor->toggleWords({7, 8});
    EXPECT_EQ(undoText(), QStringLiteral("Restore Words"));
    EXPECT_EQ(m_editor->cuts().trimIn, wordSpan(7, 8).start);
    m_editor->toggleWords({22});
    EXPECT_EQ(m_editor->cuts().trimOut, wordSpan(22, 22).end);
    m_editor->toggleWords({0});
    EXPECT_EQ(m_editor->cuts().trimIn, 0);
    expectConsistent();
}

TEST_F(EditCommands, restoreRangesInTrimAndCutsMovesBoth)
{
    m_editor->toggleWords({4, 5, 6});
    ASSERT_FALSE(m_editor->trim(9000, 25'000, QStringLiteral("Trim")));
    m_editor->restoreRanges({{-500, 4900}, {26'000, 27'000}});
    EXPECT_EQ(m_editor->cuts().trimIn, 0);
    EXPECT_EQ(m_editor->cuts().trimOut, 27'000);
    EXPECT_EQ(m_editor->cuts().spans, (std::vector<Span>{{4900, wordSpan(4, 6).end}}));
    expectConsistent();
}

TEST_F(EditCommands, restoringWhatIsListedInWholeMsLeavesNoCuts)
{
    for (const double shift : {0.0, 0.2, 0.37, 0.5, 0.63, 0.99}) {
        std::vector<Word> words = TakeFolder::talk(29, shift);
        for (const size_t filler : {4U, 5U, 11U, 28U})
            words[filler].text = QStringLiteral("um");
        m_takes.writeTranscript(QStringLiteral("talk"), words, Aligned::Yes);
        openLoaded(QStringLiteral("talk"));
        m_editor->cutFillers();
        m_editor->tightenPauses();
        ASSERT_FALSE(m_editor->trim(600.3 + shift, 29'000.2, QStringLiteral("Trim")));
        std::vector<Span> listed{{0, 601}, {29'000, 30'001}};
        for (const Span& span : m_editor->cuts().spans)
            listed.push_back({std::round(span.start), std::round(span.end)});
        ASSERT_GT(listed.size(), 20U);
        m_editor->restoreRanges(listed);
        EXPECT_EQ(m_editor->cuts(), Cuts()) << "shifted by " << shift;
    }
}

TEST_F(EditCommands, toggleWordsRestoresWithoutRemnantsOfACutBeside)
{
    m_editor->toggleWords({4});
    Cuts cuts = m_editor->cuts();
    cuts.add({{wordSpan(4, 4).start - 9.5, wordSpan(4, 4).start}, {wordSpan(4, 4).end, wordSpan(4, 4).end + 40}});
    m_editor->setCuts(cuts, QStringLiteral("Beside"));
    m_editor->toggleWords({4});
    EXPECT_EQ(m_editor->cuts().spans, (std::vector<Span>{{wordSpan(4, 4).end, wordSpan(4, 4).end + 40}}));
}

TEST_F(EditCommands, wordSpansUnknownIndicesAreDropped)
{
    EXPECT_EQ(m_editor->wordSpans({5, -3, 4, 30, 9}), (std::vector<Span>{wordSpan(4, 5), wordSpan(9, 9)}));
    EXPECT_EQ(wordSpan(4, 5), (Span{3745, 6100})) << "padded into the silence around the words";
    EXPECT_TRUE(m_editor->wordSpans({}).empty());
}

TEST_F(EditCommands, selectionSpanSnapsToWordsUnlessExact)
{
    EXPECT_EQ(m_editor->selectionSpan(7000, 4300, true), (Span{4300, 7000}));
    EXPECT_EQ(m_editor->selectionSpan(7000, 4300, false), wordSpan(4, 6)) << "words by their middles";
    EXPECT_EQ(m_editor->selectionSpan(4450, 5450, false), wordSpan(4, 5)) << "both ends count";
    EXPECT_EQ(m_editor->selectionSpan(4460, 5440, false), (Span{4460, 5440})) << "no word's middle lies inside";
    EXPECT_EQ(m_editor->selectionSpan(5000, 5019.9, true), std::nullopt);
    EXPECT_EQ(m_editor->selectionSpan(5000, 5020, true), (Span{5000, 5020}));
    ASSERT_FALSE(m_editor->trim(10'000, 20'000, QStringLiteral("Trim")));
    EXPECT_EQ(m_editor->selectionSpan(-5, 99'999, true), (Span{10'000, 20'000}));
    EXPECT_EQ(m_editor->selectionSpan(3000, 10'010, true), std::nullopt) << "all but 10 ms is trimmed away";
}

TEST_F(EditCommands, splitsNearEachOtherOrTheEndsAreRefused)
{
    const auto splitAt = [&](double ms) {
        m_editor->tick(m_editor->timeline().edited(ms));
        m_editor->splitAtPlayhead();
    };
    EXPECT_EQ(m_editor->piece(100), std::nullopt);
    splitAt(20'000);
    m_editor->setSelection(Span{1, 2000});
    splitAt(10'000);
    EXPECT_FALSE(m_editor->selection());
    for (const double refused : {10'150.0, 9'850.5, 150.0, 200.0, 29'800.0, 29'990.0})
        splitAt(refused);
    EXPECT_EQ(m_editor->splits(), (std::vector<double>{10'000, 20'000}));
    EXPECT_EQ(m_editor->undo().count(), 0);
    EXPECT_EQ(m_editor->piece(15'000), (Span{10'000, 20'000}));
    EXPECT_EQ(m_editor->piece(20'000), (Span{20'000, 30'000}));
    EXPECT_EQ(m_editor->piece(30'000), std::nullopt);
    splitAt(10'200);
    EXPECT_EQ(m_editor->splits().size(), 3U) << "200 ms away is far enough";

    ASSERT_FALSE(m_editor->trim(12'000, 20'000, QStringLiteral("Trim")));
    EXPECT_EQ(m_editor->piece(11'000), std::nullopt);
    EXPECT_EQ(m_editor->piece(15'000), (Span{12'000, 20'000})) << "splits in the trim, and on its edge, do not count";
    splitAt(12'150);
    EXPECT_EQ(m_editor->splits().size(), 3U);
}

TEST_F(EditCommands, deleteSelectionTakesTheSplitsInsideWithIt)
{
    for (const double ms : {10'000.0, 15'000.0, 20'000.0}) {
        m_editor->tick(ms);
        m_editor->splitAtPlayhead();
    }
    m_editor->setSelection(m_editor->piece(12'000));
    ASSERT_EQ(m_editor->selection(), (Span{10'000, 15'000}));
    m_editor->deleteSelection();
    EXPECT_EQ(m_editor->splits().size(), 3U) << "splits on the edges stay";
    m_editor->setSelection(Span{9'999.5, 15'001.5});
    m_editor->deleteSelection();
    EXPECT_EQ(m_editor->splits(), (std::vector<double>{10'000, 20'000})) << "only by more than 1 ms is inside";
    m_editor->undo().undo();
    EXPECT_EQ(m_editor->splits(), (std::vector<double>{10'000, 20'000})) << "splits are no part of the history";
}

TEST_F(EditCommands, fillersAndPausesAreCountedCutAndReported)
{
    std::vector<Word> words = m_words;
    words[3].text = QStringLiteral("Um,");
    words[4].text = QStringLiteral("uh");
    words[20].text = QStringLiteral("Hmm...");
    words.erase(words.begin() + 10);
    words.erase(words.begin() + 10);
    m_takes.makeMovie(QStringLiteral("um"), 30);
    m_takes.writeTranscript(QStringLiteral("um"), words, Aligned::Yes);
    openLoaded(QStringLiteral("um"));
    EXPECT_EQ(m_editor->fillerCount(), 3);
    const int pauses = m_editor->pauseCount();
    EXPECT_EQ(pauses, int(EditOps::tightenSpans(words, {}, talkMs, 400, 150).size()));

    m_editor->toggleWords({20 - 2});
    EXPECT_EQ(m_editor->fillerCount(), 2) << "what is cut already does not count";
    m_editor->cutFillers();
    EXPECT_EQ(m_editor->status(), QStringLiteral("Cut 2 fillers"));
    EXPECT_EQ(m_editor->fillerCount(), 0);
    EXPECT_TRUE(EditOps::isCut(words[3], m_editor->cuts().effective));
    m_editor->undo().undo();
    EXPECT_EQ(m_editor->fillerCount(), 2);
    m_editor->toggleWords({3});
    m_editor->cutFillers();
    EXPECT_EQ(m_editor->status(), QStringLiteral("Cut 1 filler"));

    const int left = m_editor->pauseCount();
    m_editor->tightenPauses();
    EXPECT_EQ(m_editor->status(), QStringLiteral("Tightened %1 pauses to 0.15 s").arg(left));
    EXPECT_EQ(m_editor->pauseCount(), 0);
}

TEST_F(EditCommands, editKeepsThePlayheadOnItsSourceMoment)
{
    m_editor->tick(15'000);
    m_editor->toggleWords({2, 3});
    EXPECT_DOUBLE_EQ(m_editor->timeline().source(m_editor->playhead().ms()), 15'000);
    m_editor->toggleWords({14, 15, 16}); // The playhead lies inside what is cut: it goes to the next kept moment.
    EXPECT_DOUBLE_EQ(m_editor->timeline().source(m_editor->playhead().ms()), wordSpan(14, 16).end);
    m_editor->setCuts(Cuts(), QStringLiteral("All"));
    EXPECT_DOUBLE_EQ(m_editor->playhead().ms(), wordSpan(14, 16).end);
}

TEST_F(EditCommands, everythingCutLeavesAnEmptyEditThatCanBeUndone)
{
    std::vector<int> all(m_words.size());
    std::iota(all.begin(), all.end(), 0);
    m_editor->toggleWords(all);
    EXPECT_TRUE(keepNow().empty());
    EXPECT_EQ(m_editor->timeline().durationMs, 0);
    EXPECT_EQ(m_editor->playhead().ms(), 0);
    m_editor->previewSource(12'000);
    m_editor->splitAtPlayhead();
    m_editor->trimStartToPlayhead();
    m_editor->undo().undo();
    expectConsistent();
}

TEST_F(EditCommands, anySequenceOfCommandsStaysConsistent)
{
    std::mt19937 random(7);
    const auto upTo = [&](double limit) { return std::uniform_real_distribution<double>(0, limit)(random); };
    const auto some = [&] {
        std::vector<int> indices;
        for (unsigned i = 0; i < 1 + random() % 4; ++i)
            indices.push_back(int(random() % m_words.size()));
        return indices;
    };
    const std::function<void()> commands[] = {
        [&] { m_editor->toggleWords(some()); },
        [&] { m_editor->toggleWords(some()); },
        [&] {
            m_editor->restoreRanges({{upTo(talkMs), upTo(talkMs)}});
        },
        [&] { static_cast<void>(m_editor->trim(upTo(8000), std::nullopt, QStringLiteral("In"))); },
        [&] { static_cast<void>(m_editor->trim(std::nullopt, 22'000 + upTo(9000), QStringLiteral("Out"))); },
        [&] { m_editor->clearTrim(); },
        [&] { m_editor->tick(upTo(m_editor->timeline().durationMs)); },
        [&] { m_editor->trimStartToPlayhead(); },
        [&] { m_editor->splitAtPlayhead(); },
        [&] { m_editor->setSelection(m_editor->selectionSpan(upTo(talkMs), upTo(talkMs), random() % 2)); },
        [&] { m_editor->deleteSelection(); },
        [&] { m_editor->tightenPauses(); },
        [&] {
            m_editor->beginTrimPreview();
            m_editor->previewSource(upTo(talkMs));
            m_editor->setCuts(m_editor->cuts(), QStringLiteral("Back"));
        },
        [&] { m_editor->undo().undo(); },
        [&] { m_editor->undo().redo(); },
    };
    for (int i = 0; i < 600; ++i) {
        commands[random() % std::size(commands)]();
        expectConsistent();
        ASSERT_FALSE(testing::Test::HasFatalFailure()) << "after step " << i;
    }
    const Cuts last = m_editor->cuts();
    const int depth = m_editor->undo().index();
    for (int i = 0; i < depth; ++i)
        m_editor->undo().undo();
    for (int i = 0; i < depth; ++i)
        m_editor->undo().redo();
    EXPECT_EQ(m_editor->cuts(), last);
}

} // namespace kelmo
