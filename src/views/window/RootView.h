#pragma once

#include "agent/ClaudeAgent.h"
#include "share/Sharer.h"

#include <QWidget>

class QVBoxLayout;

namespace kelmo {

class AskClaudeBox;
class DropHighlight;
class HeaderBar;
class TranscriptView;

/// The whole content of the main window, from the header down to the link. A file of a take that is dropped
/// anywhere on it is opened, and the window moves when it is dragged beside the controls. Main thread.
class RootView : public QWidget {
    Q_OBJECT

public:
    RootView(Editor& editor, Sharer& sharer, ClaudeAgent& agent, QWidget* parent);

    [[nodiscard]] HeaderBar& header() const { return *m_header; }
    [[nodiscard]] QString summary() const; ///< The length of the edit and what is removed, as the header says it.

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    void addPlayer(QVBoxLayout& column);
    void addLowerPart(QVBoxLayout& column, ClaudeAgent& agent);

    Editor& m_editor;
    Sharer& m_sharer;
    HeaderBar* m_header; ///< Children.
    TranscriptView* m_transcript = nullptr;
    AskClaudeBox* m_prompt = nullptr;
    DropHighlight* m_drop = nullptr; ///< Over the picture's place.
    std::optional<QPointF> m_grabbedAt; ///< Of the screen, until the window moves along.
};

} // namespace kelmo
