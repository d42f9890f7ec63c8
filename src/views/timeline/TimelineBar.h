#pragma once

#include "editor/Editor.h"
#include "views/style/Spring.h"
#include "views/timeline/TimelineArt.h"
#include "views/timeline/TimelineGeometry.h"
#include "views/timeline/TimelineStrip.h"
#include "views/timeline/TrimMouse.h"

#include <QPointer>
#include <QVariantAnimation>
#include <QWidget>

namespace kelmo {

class TrimBubble;

/// The strip under the preview: thumbnails of the edit, the trim handles at its ends, playhead, split markers and
/// selection. Turns drags into the editor's commands and holds nothing but the drag. Main thread.
///
/// The widget is taller than the strip by `overhang` above and below, where the playhead sticks out.
class TimelineBar : public QWidget {
    Q_OBJECT

public:
    enum class Mode { TrimIn, TrimOut, Scrub, Select, Click };

    static constexpr int overhang = 9; ///< Logical pixels.

    explicit TimelineBar(Editor& editor, QWidget* parent = nullptr);
    ~TimelineBar() override;

    /// The strip with the handles, in its window's coordinates, of the bar last shown; empty when none is.
    [[nodiscard]] static QRectF frameInWindow();

    [[nodiscard]] std::optional<Mode> mode() const { return m_mode; } ///< None while nothing is dragged.
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

    // For keys and for assistive technology. Times are on the edited clock.
    [[nodiscard]] double positionMs() const { return m_editor.playhead().ms(); }
    [[nodiscard]] double lengthMs() const { return m_editor.timeline().durationMs; }
    [[nodiscard]] double frameMs() const; ///< One picture of the take.
    void moveTo(double editedMs); ///< Within the edit's ends.

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override; ///< Of the whole program, while something is dragged.

private:
    /// A handle's motion.
    struct HandleMotion {
        Spring pull;
        QVariantAnimation hover;
        bool hovered = false;
    };
    /// What moves, where it was painted last; logical pixels of the widget.
    struct Shown {
        double in = 0;
        double out = 0;
        double head = 0;
    };

    // TimelineBar.cpp
    void follow();
    void takeReplaced();
    void editChanged();
    void changed(QPointF start, QPointF at);
    void begin(double x);
    void ended(double ms);
    void takeBack();
    void endDrag();
    [[nodiscard]] bool trims() const { return m_mode == Mode::TrimIn || m_mode == Mode::TrimOut; }
    void trimInTo(double ms);
    void trimOutTo(double ms);
    [[nodiscard]] bool isExact() const { return m_mouse.held() & (Qt::ControlModifier | Qt::AltModifier); }
    [[nodiscard]] double snapped(double ms) const;
    [[nodiscard]] double withinTrim(double ms) const;
    void showHelp();

    // TimelineBarKeys.cpp
    void announce();

    // Geometry. x is from the track's left end, ms on the source clock.
    [[nodiscard]] TimelineGeometry geometry() const { return {m_editor.fullTimeline(), double(width())}; }
    [[nodiscard]] double inMs() const { return m_dragIn.value_or(m_editor.cuts().trimIn); }
    [[nodiscard]] double trimEndMs() const;
    [[nodiscard]] double outMs() const { return m_dragOut.value_or(trimEndMs()); }
    [[nodiscard]] double headMs() const;
    [[nodiscard]] QRectF strip() const; ///< Of the widget.

    // TimelineBarPainting.cpp
    [[nodiscard]] Shown shownNow() const;
    void repaintMoved();
    void repaintHandle(double x);
    void paintPlayhead(QPainter& painter, const DeviceGrid& grid) const;
    void paintSelection(QPainter& painter, const DeviceGrid& grid) const;
    void paintSplits(QPainter& painter, const DeviceGrid& grid, const QRectF& visible) const;
    void handle(QPainter& painter, const DeviceGrid& grid, TimelineArt::Side side) const;
    void showBubble();
    [[nodiscard]] QString wordAtHandle() const;

    Editor& m_editor;
    Playhead& m_playhead;
    Filmstrip m_strip;
    std::optional<Mode> m_mode;
    std::optional<double> m_dragIn;
    std::optional<double> m_dragOut;
    QPointF m_dragStart;
    double m_headBefore = 0; ///< Where the playhead was when the drag began, in source ms.

    TrimMouse m_mouse;
    TimelineStrip m_tiles;
    Timeline m_laidOut; ///< What the tiles show.
    std::vector<double> m_candidates; ///< Where the dragged handle snaps to.
    std::array<HandleMotion, 2> m_handles;
    Shown m_shown;
    bool m_showsFocus = false; ///< Only when the keyboard brought it.
    QPointer<TrimBubble> m_bubble; ///< While a handle is dragged; owned by the window.
};

} // namespace kelmo
