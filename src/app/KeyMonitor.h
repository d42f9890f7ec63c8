#pragma once

#include "editor/Editor.h"

#include <QPointer>

namespace kelmo {

class MainMenu;

/// Sees every key before the widgets do: the keys that remove or drop what is selected on the timeline, and those of
/// menu commands that a text field would swallow. Owned by the AppDelegate; main thread.
class KeyMonitor : public QObject {
    Q_OBJECT

public:
    /// Requires: editor and menu outlive it. `window` is the main window.
    KeyMonitor(Editor& editor, const MainMenu& menu, QWidget* window);

    /// Deletes the selected piece, or drops the selection. False when the key is for another receiver.
    bool timelineKey(int key, Qt::KeyboardModifiers modifiers, bool inMainWindow);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] bool isInMainWindow(const QObject* receiver) const;

    Editor& m_editor;
    const MainMenu& m_menu;
    const QPointer<QWidget> m_window;
};

} // namespace kelmo
