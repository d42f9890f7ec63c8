#pragma once

#include "editor/Editor.h"
#include "views/window/RemainingTime.h"

#include <QTimer>
#include <QWidget>

class QHBoxLayout;
class QStackedWidget;

namespace kelmo {

class Button;
class ExportSettingsButton;
class ProgressLine;

/// The row of what can be done with the whole edit: fillers, pauses, export. While an export runs, a thin line above
/// it shows how far it is, and the settings make room for Cancel with the time that remains. Main thread.
class ActionsRow : public QWidget {
    Q_OBJECT

public:
    /// What the progress line takes above the buttons, shown or not; logical pixels.
    static constexpr int lineHeight = 6;

    ActionsRow(Editor& editor, QWidget* parent);

    /// Puts the prompt to the left of the buttons, where it takes the room that they leave.
    void setPrompt(QWidget* prompt);

private:
    void showCounts();
    void showExport();

    Editor& m_editor;
    RemainingTime m_remaining;
    ProgressLine* m_line; ///< Children, like the others.
    QHBoxLayout* m_row;
    Button* m_fillers;
    Button* m_pauses;
    QStackedWidget* m_settingsOrCancel;
    ExportSettingsButton* m_settings;
    Button* m_cancel;
    Button* m_export;
};

} // namespace kelmo
