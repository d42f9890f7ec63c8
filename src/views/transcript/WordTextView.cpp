#include "views/transcript/WordTextView.h"

#include "views/style/Theme.h"
#include "views/transcript/AccessibleWordText.h"
#include "views/transcript/Coordinator.h"

#include <QPaintEvent>
#include <QPainter>

namespace kelmo {

namespace {

constexpr int insetX = 22;
constexpr int insetY = 18;
/// Beyond it the eye loses its way back to the next line's start.
constexpr int readingWidth = 1100;
constexpr double caretWidth = 2;
constexpr double highlightReach = 3; ///< Beside the word, into the spaces.
constexpr double highlightRadius = 5;
constexpr double fadeHeight = 14;

const QColor highlightColour(10, 132, 255, 115); // The blue that desktops select with, at 0.45.
const QColor selectionColour = Theme::white(0.16);

} // namespace

WordTextView::WordTextView(QWidget* parent)
    : QAbstractScrollArea(parent)
    , m_page(Theme::transcriptFont())
    , m_glide(*verticalScrollBar())
    , m_scroller(*verticalScrollBar(), this)
{
    AccessibleWordText::install();
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(QStringLiteral("Transcript"));
    viewport()->setAutoFillBackground(false);
    viewport()->setCursor(Qt::IBeamCursor);
    verticalScrollBar()->setSingleStep(int(PageLines::pitch));
    connect(&m_blink, &CaretBlink::changed, this,
        [this] { viewport()->update(caretBox(m_caret.position()).toAlignedRect()); });
    connect(&m_scroller, &OverlayScroller::grabbed, this, [this] { m_glide.rest(); });
}

WordTextView::~WordTextView() = default;

void WordTextView::wire(Editor* editor, Coordinator* coordinator)
{
    m_editor = editor;
    m_coordinator = coordinator;
}

void WordTextView::setText(const QString& text)
{
    const QString before = m_page.text();
    m_glide.stop();
    m_highlight.reset();
    m_page.setText(text);
    m_caret.set({});
    updateRange();
    verticalScrollBar()->setValue(0);
    viewport()->update();
    AccessibleWordText::tellText(*this, before);
    Q_EMIT selectionChanged();
}

void WordTextView::setStyles(std::vector<StyledRange> styles)
{
    const double top = origin().y();
    for (const int line : m_page.setStyles(std::move(styles))) {
        const QRectF box(0, top + m_page.lines().line(line).top, viewport()->width(), PageLines::pitch);
        if (box.bottom() > 0 && box.top() < viewport()->height())
            viewport()->update(box.toAlignedRect());
    }
    AccessibleWordText::tellCuts(*this);
}

void WordTextView::setHighlight(std::optional<TextRange> range)
{
    if (range == m_highlight)
        return;
    for (const std::optional<TextRange>& changed : {std::exchange(m_highlight, range), range}) {
        if (changed)
            updateBoxes(*changed);
    }
}

void WordTextView::setSelectedRange(TextRange range)
{
    const TextRange before = m_caret.selection();
    const int caretBefore = m_caret.position();
    m_caret.set(range);
    caretMoved(before, caretBefore);
}

bool WordTextView::caretMoved(TextRange before, int caretBefore)
{
    if (m_caret.selection() == before && m_caret.position() == caretBefore)
        return false;
    viewport()->update(caretBox(caretBefore).toAlignedRect());
    updateBoxes(before);
    updateBoxes(m_caret.selection());
    if (hasFocus())
        m_blink.start();
    AccessibleWordText::tellCaret(*this, before);
    Q_EMIT selectionChanged();
    return true;
}

void WordTextView::updateBoxes(TextRange range)
{
    // A selection may be the whole talk; what is out of sight needs no boxes.
    const PageLines& lines = m_page.lines();
    const double top = origin().y();
    const int from = std::max(range.location, lines.line(lines.indexAt(-top)).start);
    const int to = std::min(range.end(), lines.line(lines.indexAt(viewport()->height() - top)).end);
    for (const QRectF& box : boxes({from, std::max(0, to - from)}))
        viewport()->update(box.adjusted(-highlightReach - 1, -1, highlightReach + 1, 1).toAlignedRect());
}

// Places.

QPointF WordTextView::origin() const { return QPointF(insetX, insetY - verticalScrollBar()->value()); }

std::vector<QRectF> WordTextView::boxes(TextRange range) const
{
    std::vector<QRectF> boxes = m_page.boxes(range);
    for (QRectF& box : boxes)
        box.translate(origin());
    return boxes;
}

QRectF WordTextView::caretBox(int position) const
{
    return {
        m_page.caretTop(position) + origin() - QPointF(caretWidth / 2, -2), QSizeF(caretWidth, PageLines::pitch - 4)};
}

int WordTextView::positionAt(QPointF inViewport) const { return m_page.positionAt(inViewport - origin()); }

void WordTextView::layOut()
{
    const int room = viewport()->width() - 2 * insetX;
    // What is at the top stays there, however the lines break now.
    const int line = m_page.lines().indexAt(-origin().y());
    const int first = m_page.lines().line(line).start;
    const double offset = m_page.lines().line(line).top + origin().y();
    m_page.setWidth(std::clamp(room, 60, readingWidth));
    updateRange();
    if (verticalScrollBar()->value() > 0)
        verticalScrollBar()->setValue(qRound(m_page.lines().line(m_page.lines().indexOf(first)).top + insetY - offset));
}

void WordTextView::updateRange()
{
    const int content = int(std::ceil(m_page.lines().height())) + 2 * insetY;
    verticalScrollBar()->setPageStep(viewport()->height());
    verticalScrollBar()->setRange(0, std::max(0, content - viewport()->height()));
}

void WordTextView::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    layOut();
    m_scroller.setGeometry(width() - OverlayScroller::breadth, 0, OverlayScroller::breadth, height());
    m_scroller.raise();
}

void WordTextView::changeEvent(QEvent* event)
{
    QAbstractScrollArea::changeEvent(event);
    if (event->type() != QEvent::FontChange)
        return;
    m_page.setFont(Theme::transcriptFont());
    updateRange();
    viewport()->update();
}

void WordTextView::reveal(TextRange range)
{
    const PageLines& lines = m_page.lines();
    const double shift = insetY - m_glide.destination();
    const double top = lines.line(lines.indexOf(range.location)).top + shift;
    const double bottom = lines.line(lines.indexOf(std::max(range.location, range.end() - 1))).top + shift;
    if (top < 0 || (bottom + PageLines::pitch > viewport()->height() && top > viewport()->height() / 3.0))
        m_glide.to(qRound(top - shift + insetY + PageLines::pitch - viewport()->height() / 3.0));
}

void WordTextView::follow(TextRange range)
{
    if (m_dragging || m_glide.isResting())
        return;
    const double top = m_page.lines().line(m_page.lines().indexOf(range.location)).top + insetY;
    // Two lines fit even where a third of the view is less than that.
    const double third = std::max(viewport()->height() / 3.0, insetY + 2 * PageLines::pitch);
    const double seenAt = top - m_glide.destination();
    if (seenAt < 0 || seenAt + PageLines::pitch > third)
        m_glide.to(int(std::ceil(top + PageLines::pitch - third)));
}

void WordTextView::showCaret()
{
    const QRectF box = caretBox(m_caret.position()).adjusted(0, -insetY, 0, insetY);
    m_glide.stop();
    if (box.top() < 0)
        verticalScrollBar()->setValue(verticalScrollBar()->value() + int(std::floor(box.top())));
    else if (box.bottom() > viewport()->height())
        verticalScrollBar()->setValue(
            verticalScrollBar()->value() + int(std::ceil(box.bottom() - viewport()->height())));
}

// Painting.

void WordTextView::paintEvent(QPaintEvent* event)
{
    QPainter painter(viewport());
    painter.setRenderHint(QPainter::Antialiasing);
    painter.save();
    painter.translate(origin());
    paintBehind(painter);
    const PageLines& lines = m_page.lines();
    const QRectF dirty = QRectF(event->rect()).translated(-origin());
    // Letters may reach a little beyond their own line.
    for (int i = lines.indexAt(dirty.top() - 4); i < lines.count() && lines.line(i).top < dirty.bottom() + 4; ++i)
        m_page.drawLine(painter, i);
    painter.restore();
    // A sentence in the words' place is not to be edited.
    const bool hasWords = !m_page.styles().empty();
    if (m_blink.isLit() && hasWords && m_caret.selection().length == 0) {
        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.fillRect(caretBox(m_caret.position()), Qt::white);
    }
    paintEdges(painter);
}

/// In page coordinates.
void WordTextView::paintBehind(QPainter& painter) const
{
    const double top = -origin().y();
    const double bottom = top + viewport()->height();
    const PageLines& lines = m_page.lines();
    const TextRange selected = m_caret.selection();
    const int from = std::max(selected.location, lines.line(lines.indexAt(top)).start);
    const int to = std::min(selected.end(), lines.line(lines.indexAt(bottom)).end);
    for (const QRectF& box : m_page.boxes({from, std::max(0, to - from)}))
        painter.fillRect(box, selectionColour);
    if (!m_highlight)
        return;
    painter.setPen(Qt::NoPen);
    painter.setBrush(highlightColour);
    for (const QRectF& box : m_page.boxes(*m_highlight))
        painter.drawRoundedRect(
            box.adjusted(-highlightReach, 0.5, highlightReach, -0.5), highlightRadius, highlightRadius);
}

/// Text that goes on above or below fades there, so that no line looks cut off by mistake.
void WordTextView::paintEdges(QPainter& painter) const
{
    const auto fade = [&](double from, double to) {
        QLinearGradient gradient(0, from, 0, to);
        QColor clear = Theme::surface1;
        clear.setAlpha(0);
        gradient.setColorAt(0, Theme::surface1);
        gradient.setColorAt(1, clear);
        painter.fillRect(QRectF(insetX / 2.0, std::min(from, to), viewport()->width() - insetX, fadeHeight), gradient);
    };
    if (verticalScrollBar()->value() > 0)
        fade(0, fadeHeight);
    if (verticalScrollBar()->value() < verticalScrollBar()->maximum())
        fade(viewport()->height(), viewport()->height() - fadeHeight);
}

} // namespace kelmo
