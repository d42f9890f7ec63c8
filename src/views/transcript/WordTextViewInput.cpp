#include "views/transcript/WordTextView.h"

#include "editor/Editor.h"
#include "views/transcript/Coordinator.h"

#include <QApplication>
#include <QClipboard>
#include <QMouseEvent>
#include <QScopedValueRollback>
#include <QStyleHints>

namespace kelmo {

namespace {

constexpr int autoscrollMs = 30;
constexpr double autoscrollShare = 0.25; ///< Of the pointer's distance, at each step.
constexpr int autoscrollAtMost = 60;

bool isPlain(const QKeyEvent& key) { return !(key.modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier)); }

bool isDelete(const QKeyEvent& key) { return key.key() == Qt::Key_Backspace || key.key() == Qt::Key_Delete; }

} // namespace

/// Changes the caret as the user asked for, and lets everybody know.
template <class Change> bool WordTextView::changeCaret(Change change)
{
    const TextRange before = m_caret.selection();
    const int caretBefore = m_caret.position();
    change();
    return caretMoved(before, caretBefore);
}

// Keys.

bool WordTextView::handles(const QKeyEvent& key) const
{
    if (isPlain(key) && (key.key() == Qt::Key_Space || isDelete(key)))
        return m_editor && m_coordinator;
    return key.matches(QKeySequence::Copy) || key.matches(QKeySequence::SelectAll) || TextCaret::moveFor(key);
}

/// True when the key was one that edits or plays.
bool WordTextView::edit(const QKeyEvent& key)
{
    if (!m_editor || !m_coordinator || !isPlain(key) || (key.key() != Qt::Key_Space && !isDelete(key)))
        return false;
    // A key held down would play and pause, or cut and restore, in turns.
    if (key.isAutoRepeat())
        return true;
    if (key.key() == Qt::Key_Space)
        m_editor->togglePlay();
    else
        m_editor->toggleWords(m_coordinator->words(selectedRange()));
    return true;
}

bool WordTextView::event(QEvent* event)
{
    // Else a shortcut of the window would take the key before it gets here.
    if (event->type() == QEvent::ShortcutOverride && handles(*static_cast<QKeyEvent*>(event))) {
        event->accept();
        return true;
    }
    return QAbstractScrollArea::event(event);
}

void WordTextView::keyPressEvent(QKeyEvent* event)
{
    if (edit(*event))
        return;
    if (event->matches(QKeySequence::Copy)) {
        copy();
    } else if (event->matches(QKeySequence::SelectAll)) {
        selectAll();
    } else if (const std::optional<TextCaret::Move> move = TextCaret::moveFor(*event)) {
        const double pageHeight = std::max(PageLines::pitch, viewport()->height() - 2 * PageLines::pitch);
        changeCaret([&] { m_caret.move(*move, pageHeight); });
        showCaret();
    } else {
        event->ignore();
    }
}

void WordTextView::copy()
{
    const TextRange range = selectedRange();
    if (range.length > 0)
        QGuiApplication::clipboard()->setText(m_page.text().mid(range.location, range.length));
}

void WordTextView::selectAll()
{
    changeCaret([this] { m_caret.set({0, m_page.length()}); });
}

void WordTextView::focusInEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusInEvent(event);
    m_blink.start();
}

void WordTextView::focusOutEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusOutEvent(event);
    m_blink.stop();
}

// Mouse.

void WordTextView::press(QPointF at, TextCaret::Unit unit)
{
    m_glide.stop();
    m_dragging = true;
    m_pointer = at;
    // A second press on the same word plays it again.
    if (!changeCaret([&] { m_caret.begin(positionAt(at), unit); }))
        Q_EMIT selectionChanged();
}

void WordTextView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    const QStyleHints* hints = QGuiApplication::styleHints();
    const bool isThird = m_sinceDoubleClick.isValid()
        && !m_sinceDoubleClick.hasExpired(hints->mouseDoubleClickInterval())
        && (event->position() - m_doubleClickedAt).manhattanLength() < hints->startDragDistance();
    if (event->modifiers() & Qt::ShiftModifier) {
        m_glide.stop();
        m_dragging = true;
        m_pointer = event->position();
        changeCaret([&] { m_caret.grow(positionAt(event->position())); });
    } else {
        press(event->position(), isThird ? TextCaret::Unit::Paragraph : TextCaret::Unit::Character);
    }
}

void WordTextView::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_sinceDoubleClick.start();
    m_doubleClickedAt = event->position();
    press(event->position(), TextCaret::Unit::Word);
}

void WordTextView::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_dragging)
        return;
    m_pointer = event->position();
    dragTo(m_pointer);
    const bool beyond = m_pointer.y() < 0 || m_pointer.y() > viewport()->height();
    if (beyond && m_autoscroll == 0)
        m_autoscroll = startTimer(autoscrollMs);
}

void WordTextView::dragTo(QPointF at)
{
    const QScopedValueRollback<bool> guard(m_extending, true);
    changeCaret([&] { m_caret.extendTo(positionAt(at)); });
}

void WordTextView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_dragging = false;
    const TextRange range = selectedRange();
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (range.length > 0 && clipboard->supportsSelection())
        clipboard->setText(m_page.text().mid(range.location, range.length), QClipboard::Selection);
}

/// A window that is closed with the button down never hears of its release.
void WordTextView::hideEvent(QHideEvent* event)
{
    m_dragging = false;
    QAbstractScrollArea::hideEvent(event);
}

void WordTextView::timerEvent(QTimerEvent* event)
{
    if (event->timerId() != m_autoscroll) {
        QAbstractScrollArea::timerEvent(event);
        return;
    }
    const double below = m_pointer.y() - viewport()->height();
    const double beyond = m_pointer.y() < 0 ? m_pointer.y() : std::max(0.0, below);
    if (!m_dragging || beyond == 0) {
        killTimer(std::exchange(m_autoscroll, 0));
        return;
    }
    const int step = std::clamp(int(beyond * autoscrollShare), -autoscrollAtMost, autoscrollAtMost);
    verticalScrollBar()->setValue(verticalScrollBar()->value() + (step == 0 ? (beyond < 0 ? -1 : 1) : step));
    dragTo(m_pointer);
}

void WordTextView::wheelEvent(QWheelEvent* event)
{
    m_glide.rest();
    QAbstractScrollArea::wheelEvent(event);
}

} // namespace kelmo
