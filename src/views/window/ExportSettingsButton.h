#pragma once

#include "editor/Editor.h"
#include "views/controls/Button.h"

namespace kelmo {

class StyledMenu;

/// Says how the edit will be exported, and opens the menu that changes it. Main thread.
class ExportSettingsButton : public Button {
    Q_OBJECT

public:
    ExportSettingsButton(Editor& editor, QWidget* parent);

private:
    void showSettings();
    void addPicker(const QString& title);
    void addChoice(const QString& label, std::function<bool()> isChosen, std::function<void()> choose);

    struct Choice {
        QAction* row;
        std::function<bool()> isChosen;
    };

    Editor& m_editor;
    StyledMenu* m_menu; ///< A child.
    std::vector<Choice> m_choices;
};

} // namespace kelmo
