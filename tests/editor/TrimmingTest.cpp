#include "tests/editor/EditorFixture.h"

#include <QSignalSpy>

namespace kelmo {

namespace {

constexpr double talkMs = 30'000;
const QString name = QStringLiteral("Trim");

class Trimming : public EditorFixture {
protected:
    void SetUp() override { openTalk(QStringLiteral("talk"), 30, m_words); }

    std::vector<Word> m_words = TakeFolder::talk(30);
};

} // namespace

TEST_F(Trimming, trimValuesAreRoundedToTheEndsAndRefusedWhenTooShort)
{
    EXPECT_FALSE(m_editor->trim(0.5, std::nullopt, name));
    EXPECT_EQ(m_editor->cuts().trimIn, 0);
    EXPECT_FALSE(m_editor->trim(std::nullopt, talkMs - 0.5, name));
    EXPECT_EQ(m_editor->cuts().trimOut, Cuts::noTrimOut);
    EXPECT_FALSE(m_editor->trim(1, talkMs - 1.5, name));
    EXPECT_EQ(m_editor->cuts().trimIn, 1);
    EXPECT_EQ(m_editor->cuts().trimOut, talkMs - 1.5);

    const Cuts before = m_editor->cuts();
    const QString tooShort = QStringLiteral("The trim would leave less than 0.1 s");
    EXPECT_EQ(m_editor->trim(5000, 5050, name), tooShort);
    EXPECT_EQ(m_editor->trim(5000, 4000, name), tooShort);
    EXPECT_EQ(m_editor->trim(99'000, std::nullopt, name), tooShort);
    EXPECT_EQ(m_editor->trim(std::nullopt, -20, name), tooShort);
    EXPECT_EQ(m_editor->trim(std::nullopt, 50, name), tooShort);
    EXPECT_EQ(m_editor->cuts(), before);
    EXPECT_FALSE(m_editor->trim(5000, 5100, name)) << "0.1 s is enough";
    EXPECT_EQ(keepNow(), (std::vector<Span>{{5000, 5100}}));
    EXPECT_FALSE(m_editor->trim(-70, 99'000, name));
    EXPECT_FALSE(m_editor->cuts().isTrimmed());
}

TEST_F(Trimming, clearTrimBringsTheCutsInsideItBack)
{
    m_editor->toggleWords({2, 3});
    const Cuts cut = m_editor->cuts();
    ASSERT_FALSE(m_editor->trim(8000, 25'000, name));
    m_editor->toggleWords({12});
    m_editor->clearTrim();
    EXPECT_EQ(m_editor->cuts().spans.front(), cut.spans.front());
    EXPECT_EQ(m_editor->cuts().spans.size(), 2U);
    EXPECT_EQ(undoText(), QStringLiteral("Clear Trim"));
}

TEST_F(Trimming, trimToPlayheadSnapsToWordsNearby)
{
    const auto startAt = [&](double ms) {
        m_editor->setCuts(Cuts(), QStringLiteral("Fresh"));
        m_editor->tick(ms);
        m_editor->trimStartToPlayhead();
        return m_editor->cuts().trimIn;
    };
    const auto endAt = [&](double ms) {
        m_editor->setCuts(Cuts(), QStringLiteral("Fresh"));
        m_editor->tick(ms);
        m_editor->trimEndToPlayhead();
        return m_editor->cuts().trimOut;
    };
    const double before5 = EditOps::span(m_words, 0, 4, talkMs).end; // 5100: where word 5 becomes the first.
    EXPECT_EQ(startAt(5100), before5);
    EXPECT_EQ(startAt(5349), before5) << "inside word 5, nearest to its own boundary";
    EXPECT_EQ(startAt(5699), 6100) << "inside word 5, nearer to the next";
    EXPECT_EQ(startAt(5800), 5800) << "in silence, and no boundary within 250 ms";
    EXPECT_EQ(startAt(5850), 6100);
    EXPECT_EQ(startAt(30), 50) << "the first word less 150 ms is nearer than the take's start";
    EXPECT_EQ(startAt(10), 0);
    EXPECT_EQ(startAt(25), 0) << "of two equally near ones the earlier";

    const double after5 = EditOps::span(m_words, 6, 29, talkMs).start; // 5745: where word 5 becomes the last.
    EXPECT_EQ(endAt(5600), after5);
    EXPECT_EQ(endAt(5500), after5);
    EXPECT_EQ(endAt(5210), 4745);
    EXPECT_EQ(endAt(6050), 6050);
    EXPECT_EQ(endAt(29'980), Cuts::noTrimOut) << "the take's end";
    EXPECT_EQ(endAt(29'860), 29'850) << "the last word and 150 ms";
}

TEST_F(Trimming, trimToPlayheadThatLeavesNothingBecomesTheStatus)
{
    ASSERT_FALSE(m_editor->trim(5000, std::nullopt, name));
    m_editor->tick(0);
    m_editor->trimEndToPlayhead();
    EXPECT_EQ(m_editor->status(), QStringLiteral("The trim would leave less than 0.1 s"));
    EXPECT_EQ(m_editor->cuts().trimOut, Cuts::noTrimOut);
}

TEST_F(Trimming, trimWithoutWordsGoesWhereThePlayheadIs)
{
    openTalk(QStringLiteral("mute"), 10, {});
    m_editor->tick(1234.5);
    m_editor->trimStartToPlayhead();
    m_editor->tick(m_editor->timeline().edited(8000));
    m_editor->trimEndToPlayhead();
    EXPECT_EQ(keepNow(), (std::vector<Span>{{1234.5, 8000}}));
}

TEST_F(Trimming, beginTrimPreviewShowsTheTrimmedPartsUntilTheEditEnds)
{
    m_editor->beginTrimPreview();
    EXPECT_FALSE(m_editor->isTrimPreviewing()) << "nothing is trimmed";
    m_editor->toggleWords({3});
    ASSERT_FALSE(m_editor->trim(8000, 25'000, name));
    const Timeline trimmed = m_editor->timeline();
    const Cuts cuts = m_editor->cuts();
    const int revision = m_editor->cutRevision();
    m_editor->tick(1000);

    m_editor->beginTrimPreview();
    EXPECT_TRUE(m_editor->isTrimPreviewing());
    EXPECT_EQ(m_editor->cuts(), cuts);
    EXPECT_EQ(keepNow().size(), 2U);
    EXPECT_EQ(m_editor->fullTimeline(), m_editor->timeline());
    EXPECT_DOUBLE_EQ(m_editor->timeline().source(m_editor->playhead().ms()), 9000);
    m_editor->previewSource(500);
    EXPECT_EQ(m_editor->playhead().ms(), 500) << "what the trim hides can be looked at";
    m_editor->previewSource(99'000);
    EXPECT_EQ(m_editor->playhead().ms(), m_editor->timeline().durationMs - 1);

    QSignalSpy timelines(m_editor.get(), &Editor::timelineChanged);
    m_editor->setCuts(cuts, name); // The handle is released where it was.
    EXPECT_FALSE(m_editor->isTrimPreviewing());
    EXPECT_EQ(m_editor->timeline(), trimmed);
    EXPECT_EQ(m_editor->cutRevision(), revision);
    EXPECT_EQ(m_editor->undo().count(), 2);
    EXPECT_EQ(timelines.count(), 1);

    m_editor->beginTrimPreview();
    m_editor->undo().undo();
    EXPECT_FALSE(m_editor->isTrimPreviewing());
    EXPECT_EQ(m_editor->timeline(), Timeline(m_editor->cuts().keep(talkMs)));
}

TEST_F(Trimming, trimWithoutATakeIsRefused)
{
    Editor editor(Editor::Sound::Muted);
    EXPECT_EQ(editor.trim(0, 5, name), QStringLiteral("No take open"));
    editor.trimStartToPlayhead();
    editor.trimEndToPlayhead();
    editor.beginTrimPreview();
    editor.splitAtPlayhead();
    editor.cutFillers();
    EXPECT_EQ(editor.undo().count(), 0);
    EXPECT_EQ(editor.status(), QStringLiteral("Cut 0 fillers"));
}

TEST_F(Trimming, refusalIsOverWithTheNextEditSeekOrTrim)
{
    const QString tooShort = QStringLiteral("The trim would leave less than 0.1 s");
    struct Case {
        const char* name;
        std::function<void()> ends;
    };
    for (const Case& each : {
             Case{"another edit", [this] { m_editor->toggleWords({20}); }},
             Case{"undo", [this] { m_editor->undo().undo(); }},
             Case{"a seek", [this] { m_editor->previewSource(15'000); }},
             Case{"a seek to a word", [this] { m_editor->seekToWord(15); }},
             Case{"a trim that works",
                 [this] {
                     m_editor->tick(m_editor->timeline().edited(5000));
                     m_editor->trimStartToPlayhead();
                 }},
         }) {
        m_editor->setCuts(Cuts(), QStringLiteral("Fresh"));
        ASSERT_FALSE(m_editor->trim(std::nullopt, 10'000, name));
        m_editor->previewSource(9999);
        m_editor->trimStartToPlayhead();
        ASSERT_EQ(m_editor->status(), tooShort) << each.name;
        EXPECT_EQ(m_editor->statusKind(), Editor::StatusKind::Problem);
        each.ends();
        EXPECT_FALSE(m_editor->status()) << each.name;
    }
    m_editor->setStatus(QStringLiteral("Something else"));
    m_editor->toggleWords({21});
    EXPECT_EQ(m_editor->status(), QStringLiteral("Something else"));
}

} // namespace kelmo
