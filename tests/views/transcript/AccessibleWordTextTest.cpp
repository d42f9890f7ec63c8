#include "tests/views/transcript/TranscriptFixture.h"

#include <QAccessible>

namespace kelmo {

namespace {

QString utf8(const char* text) { return QString::fromUtf8(text); }

class AccessibleWordTextTest : public TranscriptFixture {
protected:
    void SetUp() override
    {
        std::vector<Word> words = said(utf8("so um this works No way at all"));
        for (size_t i = 4; i < words.size(); ++i) { // "No way at all" is a paragraph of its own.
            words[i].startMs += 2000;
            words[i].endMs += 2000;
        }
        open(words);
        show({220, 260});
        m_page = QAccessible::queryAccessibleInterface(&text());
        ASSERT_TRUE(m_page && m_page->textInterface());
    }

    [[nodiscard]] QAccessibleTextInterface& reader() { return *m_page->textInterface(); }

    struct Unit {
        QString text;
        int start = 0;
        int end = 0;
        bool operator==(const Unit&) const = default;
    };
    using Ask = QString (QAccessibleTextInterface::*)(int, QAccessible::TextBoundaryType, int*, int*) const;
    [[nodiscard]] Unit ask(Ask question, int offset, QAccessible::TextBoundaryType boundary)
    {
        Unit unit;
        unit.text = (reader().*question)(offset, boundary, &unit.start, &unit.end);
        return unit;
    }

    QAccessibleInterface* m_page = nullptr;
};

} // namespace

TEST_F(AccessibleWordTextTest, pageIsATextThatIsReadNotTyped)
{
    EXPECT_EQ(m_page->role(), QAccessible::EditableText);
    EXPECT_EQ(m_page->text(QAccessible::Name), utf8("Transcript"));
    const QAccessible::State state = m_page->state();
    EXPECT_TRUE(state.readOnly && state.multiLine && state.selectableText && state.focusable && state.focused);
    EXPECT_FALSE(state.editable);
    EXPECT_EQ(reader().text(0, reader().characterCount()), utf8("so um this works\nNo way at all"));
    EXPECT_EQ(reader().text(-5, 1000), shownText()) << "offsets beyond the text are cut off";
}

TEST_F(AccessibleWordTextTest, unitsAreWordsLinesAndParagraphsOfThePage)
{
    constexpr Ask at = &QAccessibleTextInterface::textAtOffset;
    constexpr Ask before = &QAccessibleTextInterface::textBeforeOffset;
    constexpr Ask after = &QAccessibleTextInterface::textAfterOffset;
    EXPECT_EQ(ask(at, 4, QAccessible::CharBoundary), (Unit{utf8("m"), 4, 5}));
    EXPECT_EQ(ask(at, 4, QAccessible::WordBoundary), (Unit{utf8("um "), 3, 6}));
    EXPECT_EQ(ask(before, 4, QAccessible::WordBoundary), (Unit{utf8("so "), 0, 3}));
    EXPECT_EQ(ask(after, 4, QAccessible::WordBoundary), (Unit{utf8("this "), 6, 11}));
    EXPECT_EQ(ask(at, 4, QAccessible::ParagraphBoundary), (Unit{utf8("so um this works\n"), 0, 17}));
    EXPECT_EQ(ask(after, 4, QAccessible::ParagraphBoundary), (Unit{utf8("No way at all"), 17, 30}));
    EXPECT_EQ(ask(at, 30, QAccessible::NoBoundary), (Unit{shownText(), 0, 30}));
    EXPECT_EQ(ask(before, 1, QAccessible::WordBoundary), (Unit{QString(), -1, -1}));
    EXPECT_EQ(ask(at, 31, QAccessible::WordBoundary), (Unit{QString(), -1, -1}));
    // Lines as they stand: going through them gives the whole text once.
    QString all;
    int lines = 0;
    for (Unit line = ask(at, 0, QAccessible::LineBoundary); line.end >= 0;
         line = ask(after, line.start, QAccessible::LineBoundary)) {
        EXPECT_EQ(
            reader().characterRect(line.start).top(), reader().characterRect(std::max(line.start, line.end - 2)).top());
        all += line.text;
        ++lines;
    }
    EXPECT_EQ(all, shownText());
    EXPECT_EQ(lines, text().page().lines().count());
}

TEST_F(AccessibleWordTextTest, caretAndSelectionAreReadAndSetAndTakeThePlayheadAlong)
{
    reader().setCursorPosition(6);
    EXPECT_EQ(text().selectedRange(), (TextRange{6, 0}));
    EXPECT_EQ(m_editor.playhead().word(), 2);
    EXPECT_EQ(reader().cursorPosition(), 6);
    EXPECT_EQ(reader().selectionCount(), 0);
    reader().addSelection(6, 16);
    EXPECT_EQ(selected(), utf8("this works"));
    int start = 0;
    int end = 0;
    reader().selection(0, &start, &end);
    EXPECT_EQ(std::pair(start, end), std::pair(6, 16));
    EXPECT_EQ(reader().selectionCount(), 1);
    key(Qt::Key_Delete);
    EXPECT_EQ(struck(), (QStringList{utf8("this"), utf8("works")}));
    reader().removeSelection(0);
    EXPECT_EQ(reader().selectionCount(), 0);
}

TEST_F(AccessibleWordTextTest, attributesTellCutWordsAndFillers)
{
    select(utf8("works"));
    key(Qt::Key_Delete);
    int start = 0;
    int end = 0;
    EXPECT_TRUE(reader().attributes(12, &start, &end).contains(utf8("line-through")));
    EXPECT_EQ(std::pair(start, end), std::pair(11, 16));
    EXPECT_TRUE(reader().attributes(3, &start, &end).contains(utf8("color")));
    EXPECT_EQ(reader().attributes(5, &start, &end), QString()) << "a space looks plain";
    EXPECT_EQ(std::pair(start, end), std::pair(5, 6));
}

TEST_F(AccessibleWordTextTest, descriptionTellsWhatIsCutAndWhetherTheCaretsWordIs)
{
    EXPECT_EQ(m_page->text(QAccessible::Description), QString());
    select(utf8("this works"));
    key(Qt::Key_Delete);
    caretAt(13);
    EXPECT_EQ(m_page->text(QAccessible::Description), utf8("“works” is cut, 2 of 8 words are cut"));
    caretAt(1);
    EXPECT_EQ(m_page->text(QAccessible::Description), utf8("2 of 8 words are cut"));
    m_editor.undo().undo();
    EXPECT_EQ(m_page->text(QAccessible::Description), QString());
}

TEST_F(AccessibleWordTextTest, everyCharacterIsFoundWhereItIs)
{
    for (int i = 0; i < reader().characterCount(); ++i) {
        if (shownText()[i].isSpace())
            continue;
        const QRect box = reader().characterRect(i);
        EXPECT_TRUE(m_page->rect().contains(box.center())) << i;
        EXPECT_EQ(reader().offsetAtPoint(box.topLeft() + QPoint(1, 3)), i);
    }
    EXPECT_EQ(reader().offsetAtPoint(QPoint(-500, -500)), -1);
    EXPECT_TRUE(reader().characterRect(1000).isNull());
}

} // namespace kelmo
