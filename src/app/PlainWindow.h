#pragma once

#include "editor/Editor.h"

#include <QMainWindow>

class QLabel;
class QPushButton;

namespace kelmo {

/// The window: the edit's picture above a row with the play button, the time and the speeds. Closing it pauses and
/// leaves the program serving agents. Owned by the AppDelegate; main thread.
class PlainWindow : public QMainWindow {
    Q_OBJECT

public:
    explicit PlainWindow(Editor& editor);

    void reveal(); ///< Shows it in front of others.

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    [[nodiscard]] QWidget* transportRow();
    void addKey(const QKeySequence& key, std::function<void()> action);
    void moveBy(double editedMs);
    void refresh();

    Editor& m_editor;
    QPushButton* m_play = nullptr; ///< Children of the window, like the labels.
    QLabel* m_time = nullptr;
    QLabel* m_status = nullptr;
};

} // namespace kelmo
