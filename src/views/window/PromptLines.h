#pragma once

#include "agent/ClaudeAgent.h"
#include "views/controls/OverlayScroller.h"

#include <QTextEdit>
#include <QTimer>

namespace kelmo {

/// The lines of a run of the agent, to be read, scrolled and copied: as high as they need up to a limit, then
/// scrolling, always to the newest one. Hidden while there are none. Changes that come faster than the screen shows
/// them are shown together. Main thread.
class PromptLines : public QTextEdit {
    Q_OBJECT

public:
    static constexpr int maxHeight = 120; ///< Logical pixels.

    /// Requires: the agent outlives the view.
    explicit PromptLines(const ClaudeAgent& agent, QWidget* parent);

    void setRoom(int pixels); ///< A limit of the height that is lower than the usual one.

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void refresh();
    void removeGone();
    void append(const ClaudeAgent::Line& line);
    void select(int anchor, int position);
    void fitHeight();
    void scrollToNewest();

    const ClaudeAgent& m_agent;
    QTimer m_frame; ///< Runs while changes wait to be shown.
    std::vector<QUuid> m_shown; ///< The lines in the document, a block each.
    OverlayScroller m_scroller;
    int m_limit = maxHeight; ///< Of the height, in logical pixels.
    bool m_atNewest = true; ///< Unless the user has scrolled back.
};

} // namespace kelmo
