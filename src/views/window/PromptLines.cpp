#include "views/window/PromptLines.h"

#include "views/style/Theme.h"

#include <QAbstractTextDocumentLayout>
#include <QScrollBar>
#include <QTextBlock>

namespace kelmo {

namespace {

constexpr int frameMs = 16;
constexpr int textPixels = 11;
constexpr int lineGap = 3;
constexpr int textLeft = 12;

QTextCharFormat formatOf(const ClaudeAgent::Line& line)
{
    QTextCharFormat format;
    format.setFont(Theme::font(textPixels, line.isTool ? QFont::Medium : QFont::Normal));
    format.setForeground(Theme::white(line.isTool ? 0.45 : 0.80));
    return format;
}

/// A line's own breaks stay within its block, and come out as line feeds when it is copied.
QString inOneBlock(QString text)
{
    constexpr std::array<char16_t, 5> breaks{u'\n', u'\r', 0x2029, 0xfdd0, 0xfdd1}; // What a document breaks blocks at.
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    for (const char16_t each : breaks)
        text.replace(QChar(each), QChar::LineSeparator);
    return text;
}

} // namespace

PromptLines::PromptLines(const ClaudeAgent& agent, QWidget* parent)
    : QTextEdit(parent)
    , m_agent(agent)
    , m_scroller(*verticalScrollBar(), this)
{
    setAccessibleName(QStringLiteral("What Claude does"));
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setTabChangesFocus(true);
    setUndoRedoEnabled(false);
    setFrameShape(NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setViewportMargins(textLeft, 0, OverlayScroller::breadth, 0);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    viewport()->setAutoFillBackground(false);
    viewport()->setCursor(Qt::IBeamCursor);
    document()->setDocumentMargin(0);
    setFont(Theme::font(textPixels));

    m_frame.setSingleShot(true);
    m_frame.setInterval(frameMs);
    connect(&m_frame, &QTimer::timeout, this, &PromptLines::refresh);
    connect(&agent, &ClaudeAgent::linesChanged, this, [this] {
        if (!m_frame.isActive())
            m_frame.start();
    });
    connect(
        document()->documentLayout(), &QAbstractTextDocumentLayout::documentSizeChanged, this, &PromptLines::fitHeight);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this,
        [this](int value) { m_atNewest = value == verticalScrollBar()->maximum(); });
    connect(verticalScrollBar(), &QScrollBar::rangeChanged, this, [this] {
        if (m_atNewest)
            scrollToNewest();
    });
    refresh();
}

void PromptLines::setRoom(int pixels)
{
    m_limit = std::min(pixels, maxHeight);
    fitHeight();
}

QSize PromptLines::sizeHint() const { return {400, std::min(int(std::ceil(document()->size().height())), m_limit)}; }

QSize PromptLines::minimumSizeHint() const { return {0, 0}; }

void PromptLines::resizeEvent(QResizeEvent* event)
{
    QTextEdit::resizeEvent(event);
    m_scroller.setGeometry(width() - OverlayScroller::breadth, 0, OverlayScroller::breadth, height());
    m_scroller.raise();
}

void PromptLines::refresh()
{
    const std::deque<ClaudeAgent::Line>& lines = m_agent.lines();
    QTextCursor edit(document());
    edit.beginEditBlock();
    removeGone();
    const int anchor = textCursor().anchor();
    const int position = textCursor().position();
    const bool grows = m_shown.size() < lines.size();
    for (size_t i = m_shown.size(); i < lines.size(); ++i)
        append(lines[i]);
    edit.endEditBlock();
    // What the user has selected up to the end does not grow with the text.
    if (grows && anchor != position)
        select(anchor, position);
    setVisible(!lines.empty());
    if (grows)
        scrollToNewest();
}

void PromptLines::removeGone()
{
    const std::deque<ClaudeAgent::Line>& lines = m_agent.lines();
    if (m_shown.empty())
        return;
    if (lines.empty() || lines.front().id != m_shown.front()) {
        QTextCursor all(document());
        all.select(QTextCursor::Document);
        all.removeSelectedText();
        m_shown.clear();
        return;
    }
    // A long run lets go of its oldest lines after the request.
    const auto first = m_shown.begin() + 1;
    const auto kept = lines.size() > 1 ? std::find(first, m_shown.end(), lines[1].id) : m_shown.end();
    if (kept == first)
        return;
    QTextCursor cursor(document()->findBlockByNumber(0));
    cursor.movePosition(QTextCursor::EndOfBlock);
    const QTextBlock lastGone = document()->findBlockByNumber(int(kept - m_shown.begin()) - 1);
    cursor.setPosition(lastGone.position() + lastGone.length() - 1, QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    m_shown.erase(first, kept);
}

void PromptLines::append(const ClaudeAgent::Line& line)
{
    QTextCursor cursor(document());
    cursor.movePosition(QTextCursor::End);
    QTextBlockFormat block;
    block.setTopMargin(m_shown.empty() ? 0 : lineGap);
    if (m_shown.empty())
        cursor.setBlockFormat(block);
    else
        cursor.insertBlock(block);
    cursor.insertText(inOneBlock(line.text), formatOf(line));
    m_shown.push_back(line.id);
}

void PromptLines::select(int anchor, int position)
{
    QTextCursor cursor(document());
    cursor.setPosition(anchor);
    cursor.setPosition(position, QTextCursor::KeepAnchor);
    setTextCursor(cursor);
}

void PromptLines::fitHeight()
{
    updateGeometry();
    if (m_atNewest)
        scrollToNewest();
}

void PromptLines::scrollToNewest()
{
    m_atNewest = true;
    verticalScrollBar()->setValue(verticalScrollBar()->maximum());
}

} // namespace kelmo
