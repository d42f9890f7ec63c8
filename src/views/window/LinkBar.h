#pragma once

#include "share/Sharer.h"

#include <QTimer>
#include <QWidget>

namespace kelmo {

class Button;
class ElidedLabel;
class ProgressLine;
class TabularLabel;

/// The take's link at the bottom of the window: what it is, how far its upload has come, and the one thing to do with
/// it now. Main thread.
class LinkBar : public QWidget {
    Q_OBJECT

public:
    LinkBar(Sharer& sharer, Editor& editor, QWidget* parent);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void tap();
    void flashCopied();
    void refresh();
    void reportError();
    [[nodiscard]] bool isWorking() const;
    [[nodiscard]] bool needsUpdate() const;
    [[nodiscard]] bool canTap() const;
    [[nodiscard]] QString text() const;
    [[nodiscard]] QString buttonLabel() const;
    [[nodiscard]] QString buttonTip() const;

    Sharer& m_sharer;
    Editor& m_editor;
    QTimer m_copied; ///< Runs while the button says that the link has been copied.
    std::optional<QString> m_reportedError;
    ProgressLine* m_line; ///< Children, like the others.
    ElidedLabel* m_link;
    TabularLabel* m_phase;
    Button* m_button;
};

} // namespace kelmo
