#pragma once

#include "editor/Editor.h"

#include <QWidget>

namespace kelmo {

class Button;
class StyledMenu;
class TabularLabel;

/// The top of the window: which take is open, how long its edit is, the status line and the main menu. Main thread.
class HeaderBar : public QWidget {
    Q_OBJECT

public:
    HeaderBar(Editor& editor, QWidget* parent);

    /// Shows the button that opens the main menu, which belongs to its parent.
    void setMainMenu(StyledMenu& menu);
    void openMainMenu(); ///< As if its button had been pressed.

    [[nodiscard]] QString summary() const; ///< The edit's length and what is removed.

private:
    void showSummary();

    Editor& m_editor;
    TabularLabel* m_summary; ///< Children.
    Button* m_menu;
};

} // namespace kelmo
