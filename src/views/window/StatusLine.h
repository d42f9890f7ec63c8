#pragma once

#include "editor/Editor.h"

#include <QTimer>
#include <QVariantAnimation>
#include <QWidget>

namespace kelmo {

class Button;
class ElidedLabel;

/// One line about what has just been done, which fades by itself, or about what went wrong, which stays until it is
/// dismissed. Also tells of a take that takes its time to open. Main thread.
class StatusLine : public QWidget {
    Q_OBJECT

public:
    StatusLine(Editor& editor, QWidget* parent);

private:
    void showStatus();
    void watchOpening();
    void setLine(const QString& text, Editor::StatusKind kind);
    void clear();
    void fade();

    Editor& m_editor;
    QWidget* m_mark; ///< Children, like the others.
    ElidedLabel* m_text;
    Button* m_dismiss;
    QTimer m_stays;
    QTimer m_opening;
    QVariantAnimation m_fade;
};

} // namespace kelmo
