#pragma once

#include "editor/Editor.h"

namespace kelmo {

/// What an editor's undo history must lead to, noted beside it while it is used: the edit at every place in the
/// history. Owned by the test, after the editor; main thread.
class EditHistory : public QObject {
public:
    explicit EditHistory(Editor& editor);

    /// What is wrong with the edit as it is, in the history's eyes and by itself; empty when nothing is.
    [[nodiscard]] QString fault() const;

    /// Undoes everything, redoes everything and goes back to where it was. What went wrong on the way, or empty.
    [[nodiscard]] QString replay();

    [[nodiscard]] int steps() const { return m_steps; } ///< Pushed so far, of all takes.

private:
    void follow(int index);
    void begin();
    void push(const QUndoCommand* step, int index);
    [[nodiscard]] QString timelineFault() const;
    [[nodiscard]] QString placesFault() const;

    Editor& m_editor;
    QUndoStack& m_undo;
    std::vector<const QUndoCommand*> m_commands;
    std::vector<Cuts> m_edits; ///< Before the first command, and after each.
    int m_index = 0;
    int m_steps = 0;
    bool m_isWhole = true; ///< Nothing has been forgotten at its start.
};

} // namespace kelmo
