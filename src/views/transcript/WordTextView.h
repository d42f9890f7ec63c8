#pragma once

#include "views/controls/OverlayScroller.h"
#include "views/transcript/CaretBlink.h"
#include "views/transcript/ScrollGlide.h"
#include "views/transcript/TextCaret.h"

#include <QAbstractScrollArea>
#include <QElapsedTimer>
#include <QPointer>

namespace kelmo {

class Coordinator;
class Editor;

/// Read-only flowing text with a caret, a selection and looks by word, whose keys edit: Space plays, Delete cuts and
/// restores. Scrolls under a thumb that hides itself. Shows what its coordinator tells it; main thread.
class WordTextView : public QAbstractScrollArea {
    Q_OBJECT

public:
    explicit WordTextView(QWidget* parent = nullptr);
    ~WordTextView() override;

    /// Both may end before the view, which then handles no keys of its own any more.
    void wire(Editor* editor, Coordinator* coordinator);

    void setText(const QString& text); ///< Puts the caret at its start.
    void setStyles(std::vector<StyledRange> styles); ///< Ranges inside the text, ascending.
    void setHighlight(std::optional<TextRange> range); ///< Behind the text; costs no layout.
    [[nodiscard]] std::optional<TextRange> highlight() const { return m_highlight; }
    [[nodiscard]] const TextPage& page() const { return m_page; }

    [[nodiscard]] TextRange selectedRange() const { return m_caret.selection(); }
    [[nodiscard]] int caretPosition() const { return m_caret.position(); }
    void setSelectedRange(TextRange range); ///< As if the user had selected it, but scrolls nothing.
    [[nodiscard]] bool isExtending() const { return m_extending; } ///< The mouse is drawing the selection further.

    void reveal(TextRange range); ///< Scrolls when it isn't in sight.
    void follow(TextRange range); ///< Keeps it in the upper third, unless the user is looking elsewhere.

    /// Where a range is drawn, in the viewport.
    [[nodiscard]] std::vector<QRectF> boxes(TextRange range) const;
    [[nodiscard]] QRectF caretBox(int position) const;
    [[nodiscard]] int positionAt(QPointF inViewport) const;

    [[nodiscard]] QSize sizeHint() const override { return {900, 240}; }

public Q_SLOTS:
    void copy(); ///< Cut words, too; nothing without a selection.
    void selectAll();

Q_SIGNALS:
    /// Caret or selection, by the user or by the program; also when the user presses where the caret is already.
    void selectionChanged();

protected:
    bool event(QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    // WordTextView.cpp
    void layOut();
    void updateRange();
    bool caretMoved(TextRange before, int caretBefore); ///< False when it is where it was.
    void showCaret();
    void updateBoxes(TextRange range);
    [[nodiscard]] QPointF origin() const; ///< Of the page, in the viewport.
    void paintBehind(QPainter& painter) const;
    void paintEdges(QPainter& painter) const;

    // WordTextViewInput.cpp
    [[nodiscard]] bool handles(const QKeyEvent& key) const;
    bool edit(const QKeyEvent& key);
    template <class Change> bool changeCaret(Change change);
    void press(QPointF at, TextCaret::Unit unit);
    void dragTo(QPointF at);

    TextPage m_page;
    TextCaret m_caret{m_page};
    QPointer<Editor> m_editor;
    QPointer<Coordinator> m_coordinator;
    std::optional<TextRange> m_highlight;
    CaretBlink m_blink;
    ScrollGlide m_glide;
    OverlayScroller m_scroller;

    bool m_dragging = false;
    bool m_extending = false;
    QPointF m_pointer; ///< While dragging.
    int m_autoscroll = 0; ///< Timer, 0 when not running.
    QElapsedTimer m_sinceDoubleClick;
    QPointF m_doubleClickedAt;
};

} // namespace kelmo
