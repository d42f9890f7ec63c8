#pragma once

#include "editor/Editor.h"
#include "views/controls/Button.h"

namespace kelmo {

class StyledMenu;

/// The open take's name, which opens a menu of all takes in the recordings folder. Main thread.
class TakeMenu : public Button {
    Q_OBJECT

public:
    TakeMenu(Editor& editor, QWidget* parent);

private:
    void showTake();
    void fill();

    Editor& m_editor;
    StyledMenu* m_menu; ///< A child.
};

} // namespace kelmo
