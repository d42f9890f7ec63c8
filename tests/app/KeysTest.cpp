#include "tests/app/WindowFixture.h"
#include "views/timeline/TimelineBar.h"

#include <QApplication>
#include <QClipboard>
#include <QLineEdit>

namespace kelmo {

namespace {

class Keys : public WindowFixture {
protected:
    /// A text field in the window, which has the keyboard.
    QLineEdit& fieldWithFocus()
    {
        auto* field = new QLineEdit(&window());
        field->show();
        field->setFocus();
        return *field;
    }

    [[nodiscard]] size_t cuts() { return editor().cuts().spans.size(); }
    /// Selects a piece on the timeline, as by a click between two splits.
    void select() { editor().setSelection(Span{2000, 3000}); }
};

} // namespace

TEST_F(Keys, editingKeysDoWhatTheMenuSays)
{
    launch();
    editor().previewSource(4500);
    key(Qt::Key_BracketLeft, Qt::AltModifier);
    EXPECT_GT(editor().cuts().trimIn, 0);
    editor().previewSource(7600);
    key(Qt::Key_BracketRight, Qt::AltModifier);
    EXPECT_LT(editor().cuts().trimOut, 10'000);
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_FALSE(std::isfinite(editor().cuts().trimOut));
    key(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_TRUE(std::isfinite(editor().cuts().trimOut));
    key(Qt::Key_Backslash, Qt::AltModifier);
    EXPECT_FALSE(editor().cuts().isTrimmed());
    editor().previewSource(5000);
    key(Qt::Key_B, Qt::ControlModifier);
    EXPECT_EQ(editor().splits(), std::vector<double>{5000});
}

TEST_F(Keys, commandsWorkWhileAFieldIsTypedIn)
{
    launch();
    fieldWithFocus();
    editor().previewSource(5000);
    key(Qt::Key_B, Qt::ControlModifier);
    EXPECT_EQ(editor().splits().size(), 1u);
    key(Qt::Key_BracketLeft, Qt::AltModifier);
    EXPECT_TRUE(editor().cuts().isTrimmed());
    // To a text field this one means the end of the line.
    key(Qt::Key_E, Qt::ControlModifier);
    EXPECT_TRUE(editor().exportProgress());
    editor().cancelExport();
    EXPECT_TRUE(waitUntil([this] { return !editor().exportProgress(); }));
}

TEST_F(Keys, undoCopyAndSelectAllBelongToTheFieldThatIsTypedIn)
{
    launch();
    editor().cutFillers();
    ASSERT_EQ(cuts(), 2u);
    QLineEdit& field = fieldWithFocus();
    type(QStringLiteral("waffle"));
    key(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(field.selectedText(), QStringLiteral("waffle"));
    key(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->text(), QStringLiteral("waffle"));
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(field.text(), QString());
    EXPECT_EQ(cuts(), 2u) << "the edit stays as it is";
    key(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(field.text(), QStringLiteral("waffle"));
    field.setReadOnly(true);
    delete &field;
    window().setFocus();
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(cuts(), 0u);
}

TEST_F(Keys, deleteAndEscapeActOnTheSelectedPieceOnly)
{
    launch();
    for (const int removes : {Qt::Key_Delete, Qt::Key_Backspace}) {
        const size_t before = cuts();
        select();
        key(removes, Qt::ShiftModifier);
        EXPECT_EQ(cuts(), before + 1) << removes;
        editor().undo().undo();
    }
    select();
    key(Qt::Key_Escape);
    EXPECT_FALSE(editor().selection());

    for (const Qt::KeyboardModifier held : {Qt::ControlModifier, Qt::AltModifier, Qt::MetaModifier}) {
        select();
        key(Qt::Key_Delete, held);
        key(Qt::Key_Escape, held);
        EXPECT_TRUE(editor().selection()) << int(held);
    }
    key(Qt::Key_F10);
    ASSERT_TRUE(waitUntil([] { return QApplication::activePopupWidget() != nullptr; }));
    key(Qt::Key_Delete);
    key(Qt::Key_Escape);
    EXPECT_FALSE(QApplication::activePopupWidget()) << "an open menu gets its keys";
    EXPECT_TRUE(editor().selection());

    QLineEdit& field = fieldWithFocus();
    type(QStringLiteral("ab"));
    key(Qt::Key_Backspace);
    EXPECT_EQ(field.text(), QStringLiteral("a")) << "typing is never taken over";
    EXPECT_TRUE(editor().selection());
    editor().setSelection(std::nullopt);
    window().setFocus();
    key(Qt::Key_Delete);
    EXPECT_EQ(cuts(), 0u);
}

TEST_F(Keys, spacePlaysAndPausesUnlessAFieldIsTypedIn)
{
    launch();
    auto* bar = window().findChild<TimelineBar*>();
    for (QWidget* focused : {QApplication::focusWidget(), static_cast<QWidget*>(bar)}) {
        focused->setFocus();
        key(Qt::Key_Space);
        EXPECT_TRUE(waitUntil([this] { return editor().isPlaying(); })) << focused->metaObject()->className();
        key(Qt::Key_Space);
        EXPECT_TRUE(waitUntil([this] { return !editor().isPlaying(); })) << focused->metaObject()->className();
    }
    QLineEdit& field = fieldWithFocus();
    type(QStringLiteral("a b"));
    EXPECT_EQ(field.text(), QStringLiteral("a b"));
    EXPECT_FALSE(editor().isPlaying());
}

TEST_F(Keys, openingKeysAskOrTakeTheNewest)
{
    launch();
    key(Qt::Key_O, Qt::ControlModifier);
    ASSERT_TRUE(waitUntil([] { return QApplication::activeModalWidget() != nullptr; }));
    QApplication::activeModalWidget()->close();
    ASSERT_TRUE(waitUntil([] { return QApplication::activeModalWidget() == nullptr; }));

    m_takes.makeMovie(QStringLiteral("later"), 2);
    m_takes.writeSync(QStringLiteral("later"));
    m_takes.age(m_takes.file(QStringLiteral("talk_sync.json")), 60);
    key(Qt::Key_O, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_TRUE(shows(QStringLiteral("later")));
    EXPECT_EQ(window().windowTitle(), QStringLiteral("later"));
}

TEST_F(Keys, undoAndRedoNameTheirStepAndAreEnabledWhenThereIsOne)
{
    launch();
    QAction* undo = nullptr;
    QAction* redo = nullptr;
    for (QAction* action : window().actions()) {
        undo = action->text().startsWith(QStringLiteral("Undo")) ? action : undo;
        redo = action->text().startsWith(QStringLiteral("Redo")) ? action : redo;
    }
    ASSERT_TRUE(undo && redo);
    const auto shows = [&](const char* undoTitle, bool canUndo, const char* redoTitle, bool canRedo) {
        EXPECT_EQ(undo->text(), QString::fromLatin1(undoTitle));
        EXPECT_EQ(undo->isEnabled(), canUndo) << undoTitle;
        EXPECT_EQ(redo->text(), QString::fromLatin1(redoTitle));
        EXPECT_EQ(redo->isEnabled(), canRedo) << redoTitle;
    };
    shows("Undo", false, "Redo", false);
    editor().cutFillers();
    shows("Undo Cut Fillers", true, "Redo", false);
    editor().tightenPauses();
    key(Qt::Key_Z, Qt::ControlModifier);
    shows("Undo Cut Fillers", true, "Redo Tighten Pauses", true);
    key(Qt::Key_Y, Qt::ControlModifier);
    shows("Undo Tighten Pauses", true, "Redo", false);

    QLineEdit& field = fieldWithFocus();
    shows("Undo", false, "Redo", false);
    type(QStringLiteral("waffle"));
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(field.text(), QString());
    key(Qt::Key_Y, Qt::ControlModifier);
    EXPECT_EQ(field.text(), QStringLiteral("waffle"));
    window().setFocus();
    shows("Undo Tighten Pauses", true, "Redo", false);
    editor().open(m_takes.movie(QStringLiteral("talk")));
    shows("Undo", false, "Redo", false);
}

} // namespace kelmo
