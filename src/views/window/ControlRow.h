#pragma once

#include "editor/Editor.h"

#include <QWidget>

namespace kelmo {

class Button;
class RoundButton;
class SpeedPicker;
class TabularLabel;

/// The row under the picture: play, the time, split, the speeds. Main thread.
class ControlRow : public QWidget {
    Q_OBJECT

public:
    ControlRow(Editor& editor, QWidget* parent);

private:
    void showPlaying();
    void showTime();

    Editor& m_editor;
    RoundButton* m_play; ///< Children, like the others.
    TabularLabel* m_time;
    Button* m_split;
    SpeedPicker* m_speed;
};

} // namespace kelmo
