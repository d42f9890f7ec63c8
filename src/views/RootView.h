#pragma once

#include "editor/Editor.h"

#include <QWidget>

class QVBoxLayout;

namespace kelmo {

class HeaderBar;

/// The whole content of the main window, from the header down to the row of actions. A file of a take that is dropped
/// anywhere on it is opened. Main thread.
class RootView : public QWidget {
    Q_OBJECT

public:
    RootView(Editor& editor, QWidget* parent);

    [[nodiscard]] HeaderBar& header() const { return *m_header; }
    [[nodiscard]] QString summary() const; ///< The length of the edit and what is removed, as the header says it.

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void addPlayer(QVBoxLayout& column);
    void addLowerPart(QVBoxLayout& column);
    void moveBy(double editedMs);

    Editor& m_editor;
    HeaderBar* m_header; ///< A child.
};

} // namespace kelmo
