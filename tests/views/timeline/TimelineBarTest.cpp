#include "tests/views/timeline/TimelineFixture.h"

#include <QAccessible>
#include <QSignalSpy>

namespace kelmo {

namespace {

using TimelineBarTest = TimelineFixture;
using Mode = TimelineBar::Mode;

QString text(const char* utf8) { return QString::fromUtf8(utf8); }

} // namespace

TEST_F(TimelineBarTest, pressTakesHoldOfWhatLiesThere)
{
    openTake();
    m_editor->trim(6000, 24'000, text("Trim"));
    m_editor->previewSource(15'000);
    const struct {
        QPoint point;
        Mode mode;
    } cases[] = {
        {right(at(6000), -25), Mode::Click},
        {right(at(6000), -24), Mode::TrimIn},
        {right(at(6000), 8), Mode::TrimIn},
        {right(at(6000), 9), Mode::Click},
        {right(at(24'000), -9), Mode::Click},
        {right(at(24'000), -8), Mode::TrimOut},
        {right(at(24'000), 24), Mode::TrimOut},
        {right(at(24'000), 25), Mode::Click},
        {right(at(15'000), -6), Mode::Scrub},
        {right(at(15'000), 6), Mode::Scrub},
        {right(at(15'000), 7), Mode::Click},
    };
    for (const auto& each : cases) {
        press(each.point);
        EXPECT_EQ(m_bar->mode(), each.mode) << each.point.x();
        release(each.point);
        EXPECT_FALSE(m_bar->mode());
        m_editor->previewSource(15'000);
    }
    QTest::mousePress(mouse(), Qt::RightButton, {}, at(6000));
    EXPECT_FALSE(m_bar->mode()) << "only the left button drags";
}

TEST_F(TimelineBarTest, handlesThatNearlyMeetGiveTheRightOneFirst)
{
    openTake();
    m_editor->trim(15'000, 15'100, text("Trim")); // 3.3 points apart.
    press(at(15'000));
    EXPECT_EQ(m_bar->mode(), Mode::TrimOut);
    release(at(15'000));
    press(right(at(15'000), -1));
    EXPECT_EQ(m_bar->mode(), Mode::TrimIn);
    release(right(at(15'000), -1));
}

TEST_F(TimelineBarTest, headDraggedSnapsInWordsAndNearThemAndNotWithCtrlOrAlt)
{
    openTake();
    const double before7 = EditOps::trimInBefore(7, m_editor->words(), duration);
    const struct {
        double drop;
        Qt::KeyboardModifiers held;
        double expected;
    } cases[] = {
        {7300, {}, before7}, // Inside word 7, in its first half.
        {8950, {}, EditOps::trimInBefore(9, m_editor->words(), duration)}, // Silence, within ten points.
        {7350, Qt::ControlModifier, 7350},
        {7420, Qt::AltModifier, 7420},
        {0, {}, 0},
    };
    for (const auto& each : cases) {
        drag(at(m_editor->cuts().trimIn), at(each.drop), each.held);
        const double exact = m_editor->timeline().source(0);
        EXPECT_NEAR(m_editor->cuts().trimIn, each.expected, each.held ? duration / track : 0) << each.drop;
        EXPECT_EQ(exact, m_editor->cuts().trimIn) << "the preview is trimmed again";
        EXPECT_FALSE(m_editor->isTrimPreviewing());
        EXPECT_EQ(undoText(), text("Trim Start"));
    }
    EXPECT_EQ(m_editor->undo().count(), 5) << "one step a drag";
}

TEST_F(TimelineBarTest, dragInLongSilenceSnapsWithinTenPointsOnly)
{
    openTalk(QStringLiteral("quiet"), 30, {{text("one"), 1000, 1500, {}}, {text("two"), 20'000, 20'500, {}}});
    const double before = EditOps::trimInBefore(1, m_editor->words(), duration);
    drag(at(0), right(at(before), -11));
    EXPECT_NE(m_editor->cuts().trimIn, before);
    EXPECT_NEAR(m_editor->cuts().trimIn, before - 330, 20);
    drag(at(m_editor->cuts().trimIn), right(at(before), -9));
    EXPECT_EQ(m_editor->cuts().trimIn, before);
}

TEST_F(TimelineBarTest, tailDraggedSnapsAndPreviewsTheMillisecondBefore)
{
    openTake();
    const double after20 = EditOps::trimOutAfter(20, m_editor->words(), duration);
    press(at(duration));
    move(at(25'000));
    move(at(20'600));
    EXPECT_NEAR(headMs(), after20 - 1, 0.01);
    EXPECT_EQ(m_editor->cuts().trimOut, Cuts::noTrimOut) << "nothing changes before the release";
    release(at(20'600));
    EXPECT_EQ(m_editor->cuts().trimOut, after20);
    EXPECT_EQ(undoText(), text("Trim End"));
    drag(at(after20), right(at(duration), 40));
    EXPECT_EQ(m_editor->cuts().trimOut, Cuts::noTrimOut) << "back at the end there is no trim";
}

TEST_F(TimelineBarTest, handlesStopATenthOfASecondApart)
{
    openTake();
    m_editor->trim(10'000, 20'000, text("Trim"));
    drag(at(10'000), at(28'000));
    EXPECT_EQ(m_editor->cuts().trimIn, 19'900);
    m_editor->undo().undo();
    drag(at(20'000), at(1000));
    EXPECT_EQ(m_editor->cuts().trimOut, 10'100);
}

TEST_F(TimelineBarTest, trimmedTakeIsShownWholeWhileAHandleIsHeld)
{
    openTake();
    m_editor->trim(6000, 24'000, text("Trim"));
    const int steps = m_editor->undo().count();
    press(right(at(6000), -10));
    EXPECT_TRUE(m_editor->isTrimPreviewing());
    EXPECT_EQ(m_editor->timeline().durationMs, duration);
    release(right(at(6000), -10));
    EXPECT_FALSE(m_editor->isTrimPreviewing());
    EXPECT_EQ(m_editor->timeline().durationMs, 18'000);
    EXPECT_EQ(m_editor->undo().count(), steps) << "nothing was dragged";
    EXPECT_EQ(m_editor->cuts().trimIn, 6000);

    press(at(6000));
    move(at(3000), Qt::AltModifier);
    EXPECT_NEAR(headMs(), 3000, 1) << "what is trimmed away can be seen";
    release(at(3000));
    EXPECT_EQ(m_editor->cuts().trimIn, 3000);
}

TEST_F(TimelineBarTest, helpTellsOfCtrlWhileAHandleIsHeld)
{
    openTake();
    const QString usual = text("Drag the yellow ends to trim · Ctrl+B splits at the playhead · "
                               "click a piece and Delete to remove it");
    EXPECT_EQ(m_bar->toolTip(), usual);
    press(at(0));
    EXPECT_EQ(m_bar->toolTip(), text("Hold Ctrl to trim between words"));
    release(at(0));
    EXPECT_EQ(m_bar->toolTip(), usual);
    press(at(15'000));
    EXPECT_EQ(m_bar->toolTip(), usual);
    release(at(15'000));
}

TEST_F(TimelineBarTest, clickSelectsThePieceOrNothing)
{
    openTake();
    m_editor->setSelection(Span{1000, 2000});
    click(at(15'000));
    EXPECT_FALSE(m_editor->selection()) << "without splits a click clears";
    EXPECT_NEAR(headMs(), 15'000, 1);
    splitAt(10'000);
    splitAt(20'000);
    drag(at(15'000), right(at(15'000), 3));
    EXPECT_EQ(m_editor->selection(), (Span{10'000, 20'000})) << "three points are still a click";
    m_editor->deleteSelection();
    EXPECT_EQ(m_editor->timeline().durationMs, 20'000);
    click(at(25'000));
    EXPECT_EQ(m_editor->selection(), (Span{20'000, 30'000})) << "the strip has closed up";
}

TEST_F(TimelineBarTest, dragAcrossSelectsWordsOrExactlyWithCtrl)
{
    openTake();
    drag(at(9900), at(12'600));
    const Span words = EditOps::span(m_editor->words(), 10, 12, duration);
    EXPECT_EQ(m_editor->selection(), words);
    drag(at(12'600), at(9900));
    EXPECT_EQ(m_editor->selection(), words) << "either way round";
    drag(at(9000), at(12'000), Qt::ControlModifier);
    EXPECT_EQ(m_editor->selection(), (Span{9000, 12'000}));
    EXPECT_NEAR(headMs(), 12'000, 1);
    EXPECT_EQ(m_editor->undo().count(), 0);

    m_editor->trim(6000, 24'000, text("Trim"));
    drag(at(15'000), at(29'000), Qt::AltModifier);
    EXPECT_EQ(m_editor->selection(), (Span{15'000, 24'000})) << "held within the trim";
    EXPECT_NEAR(headMs(), 24'000, 2);
    press(at(1000));
    move(at(3000), Qt::AltModifier);
    EXPECT_FALSE(m_editor->selection()) << "nothing of the edit lies there";
    release(at(3000));
}

TEST_F(TimelineBarTest, playheadIsScrubbedWithinTheTrim)
{
    openTake();
    m_editor->trim(6000, 24'000, text("Trim"));
    m_editor->previewSource(15'000);
    m_editor->setSelection(Span{7000, 8000});
    press(right(at(15'000), 3));
    move(at(18'000));
    EXPECT_NEAR(headMs(), 18'000, 1);
    move(at(2000));
    EXPECT_NEAR(headMs(), 6000, 1);
    move(right(at(duration), 100));
    EXPECT_NEAR(headMs(), 24'000, 2);
    release(right(at(duration), 100));
    EXPECT_EQ(m_editor->selection(), (Span{7000, 8000})) << "scrubbing leaves the selection alone";
}

TEST_F(TimelineBarTest, anotherTakeEndsTheDragAndItsHandle)
{
    openTake();
    press(at(0));
    move(at(6000));
    m_takes.makeMovie(text("other"), 20);
    openLoaded(text("other"));
    EXPECT_FALSE(m_bar->mode());
    move(at(8000));
    release(at(8000));
    EXPECT_FALSE(m_editor->cuts().isTrimmed()) << "the old drag means nothing to the new take";
    drag(at(0), at(5000));
    EXPECT_EQ(m_editor->cuts().trimIn, 5000) << "without words the handle follows the pointer";
}

TEST_F(TimelineBarTest, windowClosedDuringADragEndsItThere)
{
    openTake();
    press(at(0));
    move(at(6000));
    const std::optional<TimelineBar::Mode> dragged = m_bar->mode();
    m_window->hide();
    EXPECT_EQ(dragged, TimelineBar::Mode::TrimIn);
    EXPECT_TRUE(waitUntil([this] { return !m_bar->mode(); }));
    const double trimIn = m_editor->cuts().trimIn;
    EXPECT_NEAR(trimIn, 6000, 300);
    m_window->show();
    move(at(9000));
    release(at(9000));
    EXPECT_EQ(m_editor->cuts().trimIn, trimIn) << "the pointer has let go";
}

TEST_F(TimelineBarTest, escapeTakesADragBack)
{
    openTake();
    m_editor->trim(6000, 24'000, text("Trim"));
    m_editor->previewSource(15'000);
    const int steps = m_editor->undo().count();
    for (const double from : {6000.0, 24'000.0}) {
        press(at(from));
        move(at(12'000));
        QTest::keyClick(m_window.get(), Qt::Key_Escape);
        EXPECT_FALSE(m_bar->mode());
        EXPECT_FALSE(m_editor->isTrimPreviewing());
        move(at(13'000));
        release(at(13'000));
        EXPECT_EQ(m_editor->cuts().trimIn, 6000);
        EXPECT_EQ(m_editor->cuts().trimOut, 24'000);
        EXPECT_EQ(m_editor->undo().count(), steps);
        EXPECT_NEAR(headMs(), 15'000, 0.01) << "the playhead is back, too";
    }
    press(at(9000));
    move(at(12'000));
    QTest::keyClick(m_window.get(), Qt::Key_Escape);
    m_editor->setSelection(std::nullopt); // As the window's Escape does.
    move(at(14'000));
    EXPECT_FALSE(m_editor->selection()) << "the range does not come back while the button is still held";
    release(at(14'000));
}

TEST_F(TimelineBarTest, withoutATakeNothingHappens)
{
    drag({100, 20}, {400, 20});
    drag({4, 20}, {400, 20});
    EXPECT_FALSE(m_bar->mode());
    EXPECT_FALSE(m_editor->selection());
    QTest::keyClick(m_bar, Qt::Key_Right);
    EXPECT_FALSE(m_bar->grab().isNull());
}

TEST_F(TimelineBarTest, frameInWindowIsTheStripWhereverItLies)
{
    EXPECT_EQ(TimelineBar::frameInWindow(), QRectF(20, 150 + TimelineBar::overhang, track + 2 * handle, 46));
    m_bar->move(10, 200);
    m_bar->resize(500, m_bar->height());
    EXPECT_EQ(TimelineBar::frameInWindow(), QRectF(10, 200 + TimelineBar::overhang, 500, 46));
    m_window.reset();
    EXPECT_TRUE(TimelineBar::frameInWindow().isEmpty());
}

TEST_F(TimelineBarTest, pointerOverAHandleResizes)
{
    openTake();
    const auto shapeAt = [&](QPoint point) {
        QTest::mouseMove(mouse(), point);
        return mouse()->cursor().shape();
    };
    m_editor->trim(6000, 24'000, text("Trim"));
    EXPECT_EQ(shapeAt(at(15'000)), Qt::ArrowCursor);
    EXPECT_EQ(shapeAt(right(at(6000), -19)), Qt::SizeHorCursor);
    EXPECT_EQ(shapeAt(right(at(6000), -22)), Qt::ArrowCursor);
    EXPECT_EQ(shapeAt(right(at(6000), 3)), Qt::SizeHorCursor);
    EXPECT_EQ(shapeAt(right(at(24'000), 18)), Qt::SizeHorCursor);
    m_editor->trim(6000, 20'000, text("Trim"));
    EXPECT_EQ(mouse()->cursor().shape(), Qt::ArrowCursor) << "the handle has gone from under the pointer";
}

TEST_F(TimelineBarTest, keysMoveThePlayhead)
{
    openTake();
    m_window->activateWindow();
    m_bar->setFocus(Qt::TabFocusReason);
    QTest::keyClick(m_bar, Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_NEAR(m_editor->playhead().ms(), 1000, 0.01);
    QTest::keyClick(m_bar, Qt::Key_Right);
    EXPECT_NEAR(m_editor->playhead().ms(), 1000 + m_bar->frameMs(), 0.01);
    QTest::keyClick(m_bar, Qt::Key_Left);
    QTest::keyClick(m_bar, Qt::Key_Left, Qt::ShiftModifier);
    QTest::keyClick(m_bar, Qt::Key_Left);
    EXPECT_EQ(m_editor->playhead().ms(), 0);
    QTest::keyClick(m_bar, Qt::Key_End);
    EXPECT_EQ(m_editor->playhead().ms(), duration - 1);
    QTest::keyClick(m_bar, Qt::Key_Home);
    EXPECT_EQ(m_editor->playhead().ms(), 0);
    QTest::keyClick(m_bar, Qt::Key_Right, Qt::ControlModifier);
    EXPECT_EQ(m_editor->playhead().ms(), 0) << "left to the menus";
}

TEST_F(TimelineBarTest, assistiveTechnologySeesASlider)
{
    openTake();
    m_editor->trim(6000, 24'000, text("Trim"));
    m_editor->tick(1500);
    QAccessibleInterface* seen = QAccessible::queryAccessibleInterface(m_bar);
    ASSERT_TRUE(seen && seen->valueInterface());
    EXPECT_EQ(seen->role(), QAccessible::Slider);
    EXPECT_EQ(seen->text(QAccessible::Name), text("Timeline"));
    EXPECT_TRUE(seen->text(QAccessible::Description).contains(text("Home and End")));
    EXPECT_EQ(seen->text(QAccessible::Value), text("0:01.5 of 0:18.0"));
    EXPECT_TRUE(seen->state().focusable);
    QAccessibleValueInterface& value = *seen->valueInterface();
    EXPECT_EQ(value.currentValue().toDouble(), 1.5);
    EXPECT_EQ(value.maximumValue().toDouble(), 18);
    value.setCurrentValue(4.0);
    EXPECT_NEAR(m_editor->playhead().ms(), 4000, 0.01);
}

} // namespace kelmo
