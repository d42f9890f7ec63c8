#pragma once

#include "agent/ClaudeAgent.h"

#include <QVariantAnimation>
#include <QWidget>

class QLineEdit;

namespace kelmo {

class Button;
class PromptLines;
class RoundButton;

/// Where the user asks for an edit in words: a field with a button that sends, or stops while the agent works, and
/// above it what the agent does. Grows upwards with the lines. Main thread.
class AskClaudeBox : public QWidget {
    Q_OBJECT

public:
    static constexpr int fieldHeight = 36; ///< Logical pixels.

    /// Requires: the agent outlives the box.
    explicit AskClaudeBox(ClaudeAgent& agent, QWidget* parent = nullptr);

    /// Whether the user may ask. A run that is going can be stopped all the same: this is not the toolkit's switch of
    /// that name, which would take the stop button and the lines along.
    void setEnabled(bool enabled);
    void setLinesRoom(int pixels); ///< What the lines may take of the window's height.

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void layOut();
    [[nodiscard]] QRect fieldRect() const;
    [[nodiscard]] bool canSend() const;
    void act();
    void send();
    void refresh();
    void showDismiss();
    void describeButton();

    ClaudeAgent& m_agent;
    bool m_mayAsk = true;
    QString m_sent; ///< What was asked last.
    PromptLines* m_lines; ///< A child, like the three below.
    QLineEdit* m_field;
    RoundButton* m_button;
    Button* m_dismiss; ///< Takes the lines of a run that is over away.
    QVariantAnimation m_glow; ///< The sparkle's opacity while the agent works.
};

} // namespace kelmo
