#pragma once

#include "editor/Editor.h"

#include <QWidget>

namespace kelmo {

class Button;
class StatusLine;
class StyledMenu;
class TabularLabel;
class TakeMenu;

/// The top of the window: which take is open, how long its edit is, the status line and the main menu. Main thread.
class HeaderBar : public QWidget {
    Q_OBJECT

public:
    HeaderBar(Editor& editor, QWidget* parent);

    /// Shows the button that opens the main menu, which belongs to its parent. F10 opens it, too.
    void setMainMenu(StyledMenu& menu);

    [[nodiscard]] QString summary() const; ///< The edit's length and what is removed.

private:
    void showSummary();

    Editor& m_editor;
    TakeMenu* m_take; ///< Children, made in the order in which Tab goes through them.
    TabularLabel* m_summary;
    StatusLine* m_status;
    Button* m_menu;
};

} // namespace kelmo
