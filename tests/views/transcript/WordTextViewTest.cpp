#include "tests/views/transcript/TranscriptFixture.h"
#include "views/style/Theme.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QStyleHints>
#include <QWheelEvent>

namespace kelmo {

namespace {

using WordTextViewTest = TranscriptFixture;

QString utf8(const char* text) { return QString::fromUtf8(text); }

constexpr Qt::KeyboardModifiers none = Qt::NoModifier;
constexpr Qt::KeyboardModifiers shift = Qt::ShiftModifier;
constexpr Qt::KeyboardModifiers control = Qt::ControlModifier;

/// Two paragraphs: "one two three" and "four five".
std::vector<Word> twoParagraphs()
{
    return {{utf8("one"), 0, 400, {}}, {utf8("two"), 500, 900, {}}, {utf8("three"), 1000, 1400, {}},
        {utf8("four"), 3000, 3400, {}}, {utf8("five"), 3500, 3900, {}}};
}

void drag(QWidget& widget, QPoint to)
{
    QMouseEvent move(QEvent::MouseMove, QPointF(to), widget.mapToGlobal(QPointF(to)), Qt::NoButton, Qt::LeftButton, {});
    QCoreApplication::sendEvent(&widget, &move);
}

} // namespace

TEST_F(WordTextViewTest, keysMoveTheCaretAndSelect)
{
    open(twoParagraphs());
    show();
    struct Case {
        int from;
        Qt::Key key;
        Qt::KeyboardModifiers modifiers;
        TextRange after;
        int caret;
    };
    const Case cases[] = {
        {5, Qt::Key_Left, none, {4, 0}, 4},
        {0, Qt::Key_Left, none, {0, 0}, 0},
        {13, Qt::Key_Right, none, {14, 0}, 14}, // Across the end of the paragraph.
        {14, Qt::Key_Left, none, {13, 0}, 13},
        {23, Qt::Key_Right, none, {23, 0}, 23},
        {5, Qt::Key_Left, control, {4, 0}, 4},
        {4, Qt::Key_Left, control, {0, 0}, 0},
        {5, Qt::Key_Right, control, {8, 0}, 8},
        {20, Qt::Key_Right, control, {23, 0}, 23},
        {5, Qt::Key_Home, none, {0, 0}, 0},
        {5, Qt::Key_End, none, {13, 0}, 13},
        {16, Qt::Key_Home, none, {14, 0}, 14},
        {16, Qt::Key_End, none, {23, 0}, 23},
        {16, Qt::Key_Home, control, {0, 0}, 0},
        {5, Qt::Key_End, control, {23, 0}, 23},
        {0, Qt::Key_Down, none, {14, 0}, 14},
        {14, Qt::Key_Up, none, {0, 0}, 0},
        {3, Qt::Key_Up, none, {0, 0}, 0}, // No line above: to the text's start.
        {20, Qt::Key_Down, none, {23, 0}, 23},
        {5, Qt::Key_PageUp, none, {0, 0}, 0},
        {0, Qt::Key_PageDown, none, {14, 0}, 14},
        {5, Qt::Key_Right, shift, {5, 1}, 6},
        {5, Qt::Key_Left, shift, {4, 1}, 4},
        {5, Qt::Key_Right, shift | control, {5, 3}, 8},
        {5, Qt::Key_Home, shift, {0, 5}, 0},
        {5, Qt::Key_End, shift | control, {5, 18}, 23},
        {0, Qt::Key_Down, shift, {0, 14}, 14},
        {5, Qt::Key_A, control, {0, 23}, 23},
    };
    for (const Case& each : cases) {
        caretAt(each.from);
        key(each.key, each.modifiers);
        EXPECT_EQ(text().selectedRange(), each.after) << each.from << " key " << each.key;
        EXPECT_EQ(text().caretPosition(), each.caret) << each.from << " key " << each.key;
    }
    text().setSelectedRange({4, 5});
    key(Qt::Key_Left);
    EXPECT_EQ(text().selectedRange(), (TextRange{4, 0})) << "a selection ends at its start";
    text().setSelectedRange({4, 5});
    key(Qt::Key_Right);
    EXPECT_EQ(text().selectedRange(), (TextRange{9, 0}));
}

TEST_F(WordTextViewTest, keysUpAndDownKeepTheirColumnAcrossShortLines)
{
    std::vector<Word> words = said(utf8("abcdefghij abcdefghij x abcdefghij abcdefghij"));
    words[2].startMs += 2000;
    words[2].endMs += 2000;
    words[3].startMs += 4000;
    words[3].endMs += 4000;
    words[4].startMs += 4000;
    words[4].endMs += 4000;
    open(words);
    show();
    ASSERT_EQ(shownText(), utf8("abcdefghij abcdefghij\nx\nabcdefghij abcdefghij"));
    caretAt(17);
    key(Qt::Key_Down);
    EXPECT_EQ(text().caretPosition(), 23) << "the short line's end";
    key(Qt::Key_Down);
    EXPECT_EQ(text().caretPosition(), 24 + 17) << "as far right as before";
    key(Qt::Key_Up);
    key(Qt::Key_Up);
    EXPECT_EQ(text().caretPosition(), 17);
}

TEST_F(WordTextViewTest, mouseSelectsCharactersWordsAndParagraphs)
{
    open(twoParagraphs());
    show();
    QWidget& page = *text().viewport();
    QTest::mouseClick(&page, Qt::LeftButton, none, before(6));
    EXPECT_EQ(text().selectedRange(), (TextRange{6, 0}));
    EXPECT_EQ(m_editor.playhead().word(), 1);

    QTest::mousePress(&page, Qt::LeftButton, none, before(2));
    drag(page, before(10));
    EXPECT_EQ(selected(), utf8("e two th"));
    drag(page, before(1));
    EXPECT_EQ(selected(), utf8("n")) << "back over where it began";
    QTest::mouseRelease(&page, Qt::LeftButton, none, before(1));
    drag(page, before(10));
    EXPECT_EQ(selected(), utf8("n")) << "the button is up";

    QTest::mouseClick(&page, Qt::LeftButton, shift, before(7));
    EXPECT_EQ(selected(), utf8("e two")) << "from the anchor on";

    // Apart in time, or it would be a triple click with those above.
    QTest::qWait(2 * QGuiApplication::styleHints()->mouseDoubleClickInterval());
    QTest::mouseDClick(&page, Qt::LeftButton, none, in(utf8("two")));
    EXPECT_EQ(selected(), utf8("two"));
    QTest::mousePress(&page, Qt::LeftButton, none, in(utf8("two")));
    EXPECT_EQ(selected(), utf8("one two three")) << "the third press takes the paragraph";
    drag(page, in(utf8("four")));
    EXPECT_EQ(selected(), utf8("one two three\nfour five"));
    QTest::mouseRelease(&page, Qt::LeftButton, none, in(utf8("four")));
}

TEST_F(WordTextViewTest, mouseDraggedAfterADoubleClickTakesWholeWords)
{
    open(twoParagraphs());
    show();
    QWidget& page = *text().viewport();
    const QPoint at = in(utf8("two"));
    QMouseEvent twice(
        QEvent::MouseButtonDblClick, QPointF(at), page.mapToGlobal(QPointF(at)), Qt::LeftButton, Qt::LeftButton, none);
    QCoreApplication::sendEvent(&page, &twice);
    drag(page, before(10));
    EXPECT_EQ(selected(), utf8("two three"));
    drag(page, before(1));
    EXPECT_EQ(selected(), utf8("one two"));
    QTest::mouseRelease(&page, Qt::LeftButton, none, before(1));
}

TEST_F(WordTextViewTest, mouseDraggedBeyondTheEdgeScrolls)
{
    open(saidLong(120));
    show({360, 200});
    QWidget& page = *text().viewport();
    QTest::mousePress(&page, Qt::LeftButton, none, before(10));
    const QPoint below(100, page.height() + 60);
    drag(page, below);
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return text().verticalScrollBar()->value() == text().verticalScrollBar()->maximum(); }));
    EXPECT_TRUE(QTest::qWaitFor([&] { return text().selectedRange().end() == shownText().size(); }));
    drag(page, {100, -60});
    EXPECT_TRUE(QTest::qWaitFor([&] { return text().verticalScrollBar()->value() == 0; }));
    QTest::mouseRelease(&page, Qt::LeftButton, none, {100, -60});
}

TEST_F(WordTextViewTest, copyTakesKeptAndCutWordsAsText)
{
    open(twoParagraphs());
    show();
    QGuiApplication::clipboard()->setText(utf8("before"));
    caretAt(3);
    key(Qt::Key_C, control);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), utf8("before")) << "nothing selected";
    select(utf8("two three"));
    key(Qt::Key_Delete);
    key(Qt::Key_A, control);
    key(Qt::Key_C, control);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), utf8("one two three\nfour five"));
}

TEST_F(WordTextViewTest, spaceAndDeleteHeldDownActOnce)
{
    open(twoParagraphs());
    show();
    select(utf8("two"));
    key(Qt::Key_Delete);
    QKeyEvent held(QEvent::KeyPress, Qt::Key_Delete, none, QString(), true);
    QCoreApplication::sendEvent(&text(), &held);
    EXPECT_EQ(struck(), QStringList{utf8("two")});
    key(Qt::Key_Space);
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_editor.isPlaying(); }));
    key(Qt::Key_Space);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !m_editor.isPlaying(); }));
}

TEST_F(WordTextViewTest, otherKeysAreLeftToTheWindow)
{
    open(twoParagraphs());
    show();
    for (const int code : {Qt::Key_Escape, Qt::Key_X, Qt::Key_Return, Qt::Key_F5}) {
        QKeyEvent press(QEvent::KeyPress, code, none, utf8("x"));
        QCoreApplication::sendEvent(&text(), &press);
        EXPECT_FALSE(press.isAccepted()) << code;
    }
    EXPECT_EQ(shownText(), utf8("one two three\nfour five"));
    // Without an editor there is still a text to read.
    text().wire(nullptr, nullptr);
    key(Qt::Key_Delete);
    EXPECT_EQ(struck(), QStringList());
}

TEST_F(WordTextViewTest, wheelScrollsAndTheThumbHidesByItself)
{
    open(saidLong(300));
    show({360, 200});
    auto* thumb = text().findChild<OverlayScroller*>();
    const auto isSeen = [&] {
        const QRect strip = QRect(thumb->mapTo(m_view.get(), QPoint()), thumb->size())
                                .adjusted(0, Theme::cardRadius, 0, -Theme::cardRadius);
        const QImage image = m_view->grab(strip).toImage();
        for (int y = 0; y < image.height(); ++y) {
            if (qGreen(image.pixel(image.width() / 2, y)) > 60)
                return true;
        }
        return false;
    };
    QWidget& page = *text().viewport();
    const QPointF at(100, 100);
    QWheelEvent down(at, page.mapToGlobal(at), {}, {0, -120}, Qt::NoButton, none, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&page, &down);
    const int scrolled = text().verticalScrollBar()->value();
    EXPECT_GT(scrolled, 40);
    EXPECT_TRUE(QTest::qWaitFor(isSeen));
    EXPECT_TRUE(QTest::qWaitFor([&] { return !isSeen(); }, 10'000));

    QTest::mousePress(thumb, Qt::LeftButton, none, {8, thumb->height() - 6});
    EXPECT_GT(text().verticalScrollBar()->value(), text().verticalScrollBar()->maximum() * 9 / 10);
    QTest::mouseRelease(thumb, Qt::LeftButton, none, {8, thumb->height() - 6});
}

TEST_F(WordTextViewTest, resizedWhatIsAtTheTopStaysThere)
{
    open(saidLong(400));
    show({500, 260});
    text().verticalScrollBar()->setValue(700);
    const int first = text().positionAt({30, 12});
    for (const int width : {420, 300, 640}) {
        m_view->resize(width, 260);
        const double y = text().caretBox(first).top();
        EXPECT_GT(y, -PageLines::pitch) << width;
        EXPECT_LT(y, 2 * PageLines::pitch) << width;
    }
    m_view->resize(2400, 260);
    EXPECT_LE(text().page().width(), 1100) << "a line stays readable";
}

TEST_F(WordTextViewTest, caretBlinksOnlyWithTheFocusAndWhereTheDesktopWantsIt)
{
    open(said(utf8("one two three")));
    show();
    caretAt(9);
    const auto isLit = [&] {
        const QPoint at = text().viewport()->mapTo(m_view.get(), text().caretBox(9).center().toPoint());
        return qGreen(m_view->grab(QRect(at.x() - 1, at.y(), 3, 1)).toImage().pixel(1, 0)) > 240;
    };
    key(Qt::Key_Left);
    key(Qt::Key_Right);
    EXPECT_TRUE(isLit()) << "seen at once after it moved";
    EXPECT_TRUE(QTest::qWaitFor([&] { return !isLit(); }));
    EXPECT_TRUE(QTest::qWaitFor(isLit));
    text().clearFocus();
    EXPECT_FALSE(isLit());
    const int flashMs = QGuiApplication::styleHints()->cursorFlashTime();
    QGuiApplication::styleHints()->setCursorFlashTime(0);
    text().setFocus();
    QTest::qWait(flashMs);
    EXPECT_TRUE(isLit()) << "stands still";
    QGuiApplication::styleHints()->setCursorFlashTime(flashMs);
}

} // namespace kelmo
