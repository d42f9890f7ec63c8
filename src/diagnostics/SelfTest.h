#pragma once

#include "editor/Editor.h"

#include <QCoroTask>
#include <QKeySequence>

class QWidget;

namespace kelmo {

class TranscriptView;

/// The program's own scripts: they drive the real window and the open take as a user would and log, after every step,
/// what came of it. Started by switches of the command line; main thread, with a running event loop. Editor and window
/// outlive a script.
class SelfTest {
public:
    SelfTest(Editor& editor, QWidget& window);

    /// Deletes words in the transcript, undoes, redoes, takes a picture of the window and puts the caret on a word.
    [[nodiscard]] QCoro::Task<void> ui();

    /// Splits the edit twice, removes the piece between, undoes; prints two JSON lines and ends the program.
    [[nodiscard]] QCoro::Task<void> split();

    /// Drags both handles, trims and clears the trim with the menu's keys.
    [[nodiscard]] QCoro::Task<void> trim();

private:
    // SelfTest.cpp
    [[nodiscard]] QCoro::Task<bool> takeIsLoaded();
    [[nodiscard]] TranscriptView* find() const; ///< The transcript in the window; null when there is none.
    [[nodiscard]] QString keep() const;
    bool key(const QKeySequence& keys); ///< Hands keys to the menu; false when no command that can be given has them.
    void press(int key); ///< A key to whatever has the focus.

    // SelfTestUI.cpp
    [[nodiscard]] bool deleteText(TranscriptView& transcript, const QString& text);
    [[nodiscard]] static QString struck(TranscriptView& transcript);

    // SelfTestTrim.cpp
    [[nodiscard]] QCoro::Task<void> drag(double fromFraction, double toFraction, double holdSeconds);
    void state(const QString& label) const;

    Editor& m_editor;
    QWidget& m_window;
};

} // namespace kelmo
