#include "tests/editor/EditorFixture.h"

#include <QElapsedTimer>

namespace kelmo {

namespace {

class Playback : public EditorFixture {
protected:
    /// A take of ten seconds with a word in each.
    void open() { openTalk(QStringLiteral("talk"), 10, TakeFolder::talk(10)); }
    void look() { m_editor->setPictureBox({160, 90}); }
    [[nodiscard]] QStringList updates() const
    {
        return loggedLike(QStringLiteral("timing"), QStringLiteral("edit → preview updated .*"));
    }
};

} // namespace

TEST_F(Playback, togglePlayMovesThePlayheadAndItsWordUntilTheEnd)
{
    open();
    m_editor->previewSource(8100);
    int changes = 0;
    QObject::connect(m_editor.get(), &Editor::playingChanged, [&] { ++changes; });
    m_editor->togglePlay();
    EXPECT_TRUE(m_editor->isPlaying());
    ASSERT_TRUE(waitUntil([&] { return m_editor->playhead().word() == 9; }));
    ASSERT_TRUE(waitUntil([&] { return !m_editor->isPlaying(); }));
    EXPECT_EQ(m_editor->playhead().ms(), 10'000);
    EXPECT_EQ(changes, 2);
}

TEST_F(Playback, togglePlayNearTheEndRewindsOnlyWithinThirtyMs)
{
    open();
    m_editor->tick(9990);
    m_editor->togglePlay();
    EXPECT_EQ(m_editor->playhead().ms(), 0);
    ASSERT_TRUE(waitUntil([&] { return m_editor->playhead().ms() > 50; }));
    m_editor->togglePlay();
    EXPECT_FALSE(m_editor->isPlaying());
    m_editor->previewSource(9969);
    m_editor->togglePlay();
    EXPECT_EQ(m_editor->playhead().ms(), 9969);
    EXPECT_TRUE(waitUntil([&] { return !m_editor->isPlaying(); })) << "plays out";
    EXPECT_EQ(m_editor->playhead().ms(), 10'000);
}

TEST_F(Playback, togglePlayWithoutMediaDoesNothing)
{
    m_editor->togglePlay();
    EXPECT_FALSE(m_editor->isPlaying());
}

TEST_F(Playback, seekToWordGoesToItsStartAndIgnoresOthers)
{
    open();
    m_editor->seekToWord(4);
    EXPECT_EQ(m_editor->playhead().ms(), 4200);
    EXPECT_EQ(m_editor->playhead().word(), 4);
    m_editor->seekToWord(-1);
    m_editor->seekToWord(10);
    EXPECT_EQ(m_editor->playhead().ms(), 4200);
}

TEST_F(Playback, previewSourceBeyondTheEndShowsTheLastPicture)
{
    open();
    m_editor->previewSource(12'000);
    EXPECT_EQ(m_editor->playhead().ms(), 9999);
}

TEST_F(Playback, setPlaybackRatePausedDoesNotPlayButHoldsFromTheNextPlay)
{
    open();
    m_editor->setPlaybackRate(3);
    wait(50);
    EXPECT_FALSE(m_editor->isPlaying());
    QElapsedTimer timer;
    timer.start();
    m_editor->togglePlay();
    ASSERT_TRUE(waitUntil([&] { return m_editor->playhead().ms() > 3000; }));
    EXPECT_LT(timer.elapsed(), 2000);
}

TEST_F(Playback, editsWhileNobodyLooksMakeNoPictureAndAreLoggedAtOnce)
{
    open();
    m_editor->toggleWords({2});
    EXPECT_EQ(updates().size(), 1);
    EXPECT_EQ(m_editor->picture(), nullptr);
}

TEST_F(Playback, editsInQuickSuccessionOnlyTheLastIsLoggedAndPlayingGoesOn)
{
    open();
    look();
    ASSERT_TRUE(waitUntil([&] { return m_editor->picture() != nullptr; }));
    m_editor->togglePlay();
    ASSERT_TRUE(waitUntil([&] { return m_editor->playhead().ms() > 100; }));
    m_editor->toggleWords({7});
    m_editor->toggleWords({8});
    ASSERT_TRUE(waitUntil([&] { return !updates().isEmpty(); }));
    wait(200);
    ASSERT_EQ(updates().size(), 1);
    EXPECT_TRUE(updates().first().endsWith(QStringLiteral(", 2 segments]"))) << qPrintable(updates().first());
    EXPECT_TRUE(m_editor->isPlaying());
    const double before = m_editor->playhead().ms();
    EXPECT_TRUE(waitUntil([&] { return m_editor->playhead().ms() > before + 100; }));
}

TEST_F(Playback, openWithAViewLogsTheFirstFrameOnceAndPauses)
{
    look();
    open();
    const auto frames = [this] {
        return loggedLike(QStringLiteral("timing"), QStringLiteral("take open → first frame shown: \\d+ ms")).size();
    };
    ASSERT_TRUE(waitUntil([&] { return frames() == 1; }));
    m_editor->togglePlay();
    ASSERT_TRUE(waitUntil([&] { return m_editor->playhead().ms() > 100; }));
    m_editor->open(m_takes.movie(QStringLiteral("talk")));
    EXPECT_FALSE(m_editor->isPlaying());
    ASSERT_TRUE(waitUntil([&] { return frames() == 2; }));
    m_editor->previewSource(3000);
    wait(200);
    EXPECT_EQ(frames(), 2);
}

TEST_F(Playback, openAnotherTakeWhilePlayingAndSeekingEndsQuietly)
{
    look();
    open();
    m_takes.makeMovie(QStringLiteral("other"), 5);
    for (int i = 0; i < 10; ++i) {
        m_editor->togglePlay();
        m_editor->previewSource(i * 900);
        m_editor->open(m_takes.movie(i % 2 ? QStringLiteral("talk") : QStringLiteral("other")));
        wait(i * 3);
    }
    ASSERT_TRUE(waitUntil([&] { return m_editor->built() != nullptr; }));
    m_editor.reset(); // With a decoder at work.
}

} // namespace kelmo
