#include "views/window/RootView.h"

#include "views/style/FocusRing.h"
#include "views/style/Theme.h"
#include "views/timeline/TimelineBar.h"
#include "views/transcript/TranscriptView.h"
#include "views/window/ActionsRow.h"
#include "views/window/AskClaudeBox.h"
#include "views/window/ControlRow.h"
#include "views/window/DropHighlight.h"
#include "views/window/EmptyPlayer.h"
#include "views/window/HeaderBar.h"
#include "views/window/LinkBar.h"
#include "views/window/PlayerView.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QStackedWidget>
#include <QVBoxLayout>
#include <QWindow>

namespace kelmo {

namespace {

/// How the picture and what lies below it share the height, whatever comes and goes in either.
constexpr int playerShare = 300;
constexpr int lowerShare = 368;
constexpr int rowGap = 10;
constexpr int belowPlayer = 4;
/// Beside the room that the bar keeps for its playhead.
constexpr int aroundTimeline = 5;
constexpr int aboveLink = 8;
constexpr int minTranscript = 84;
constexpr int minPlayer = 112;
/// In the lowest window the agent's lines take this much, and half of what a window is higher.
constexpr int lowestWindow = 520;
constexpr int lowestLines = 48;

/// The first local file among what is dragged.
QString fileIn(const QMimeData& data)
{
    for (const QUrl& url : data.urls()) {
        if (url.isLocalFile())
            return url.toLocalFile();
    }
    return {};
}

} // namespace

RootView::RootView(Editor& editor, Sharer& sharer, ClaudeAgent& agent, QWidget* parent)
    : QWidget(parent)
    , m_editor(editor)
    , m_sharer(sharer)
    , m_header(new HeaderBar(editor, this))
{
    setAcceptDrops(true);
    setAccessibleName(QStringLiteral("Editor"));
    setFocusPolicy(Qt::ClickFocus);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_header);
    addPlayer(*column);
    addLowerPart(*column, agent);
    new FocusRing(this);
}

void RootView::addPlayer(QVBoxLayout& column)
{
    auto* pages = new QStackedWidget(this);
    auto* player = new PlayerView(m_editor, pages);
    auto* empty = new EmptyPlayer(m_editor, pages);
    pages->addWidget(empty);
    pages->addWidget(player);
    pages->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Ignored);
    pages->setMinimumHeight(minPlayer);
    m_drop = new DropHighlight(pages);
    column.addWidget(pages, playerShare);
    const auto choose = [this, pages, player, empty] {
        pages->setCurrentWidget(m_editor.take() ? static_cast<QWidget*>(player) : empty);
    };
    connect(&m_editor, &Editor::takeChanged, pages, choose);
    choose();
}

void RootView::addLowerPart(QVBoxLayout& column, ClaudeAgent& agent)
{
    auto* lower = new QWidget(this);
    auto* rows = new QVBoxLayout(lower);
    rows->setContentsMargins(Theme::windowEdge, belowPlayer, Theme::windowEdge, aboveLink);
    rows->setSpacing(0);
    rows->addWidget(new ControlRow(m_editor, lower));
    rows->addSpacing(aroundTimeline);
    rows->addWidget(new TimelineBar(m_editor, lower));
    rows->addSpacing(aroundTimeline);
    m_transcript = new TranscriptView(m_editor, lower);
    m_transcript->setMinimumHeight(minTranscript);
    rows->addWidget(m_transcript, 1);
    // Without a take there is nothing to say about its speech.
    const auto showText = [this] { m_transcript->textView().setVisible(m_editor.take().has_value()); };
    connect(&m_editor, &Editor::takeChanged, m_transcript, showText);
    showText();
    rows->addSpacing(rowGap - ActionsRow::lineHeight);
    // In the order in which Tab goes through them.
    m_prompt = new AskClaudeBox(agent, lower);
    auto* actions = new ActionsRow(m_editor, lower);
    actions->setPrompt(m_prompt);
    rows->addWidget(actions);
    const auto enablePrompt = [this] { m_prompt->setEnabled(m_editor.take().has_value()); };
    connect(&m_editor, &Editor::takeChanged, m_prompt, enablePrompt);
    enablePrompt();
    column.addWidget(lower, lowerShare);
    column.addWidget(new LinkBar(m_sharer, m_editor, this));
}

QString RootView::summary() const { return m_header->summary(); }

void RootView::dragEnterEvent(QDragEnterEvent* event)
{
    if (fileIn(*event->mimeData()).isEmpty())
        return;
    event->acceptProposedAction();
    m_drop->light(true);
}

void RootView::dragLeaveEvent(QDragLeaveEvent*) { m_drop->light(false); }

void RootView::dropEvent(QDropEvent* event)
{
    m_drop->light(false);
    event->acceptProposedAction();
    m_editor.open(fileIn(*event->mimeData()), Editor::Opener::Person);
}

void RootView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    m_prompt->setLinesRoom(std::max(lowestLines, lowestLines + (height() - lowestWindow) / 2));
}

void RootView::mousePressEvent(QMouseEvent* event)
{
    m_grabbedAt.reset();
    if (event->button() == Qt::LeftButton)
        m_grabbedAt = event->globalPosition();
}

void RootView::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_grabbedAt || !event->buttons().testFlag(Qt::LeftButton))
        return;
    if ((event->globalPosition() - *m_grabbedAt).manhattanLength() < QApplication::startDragDistance())
        return;
    m_grabbedAt.reset();
    window()->windowHandle()->startSystemMove();
}

/// A click beside the controls goes back to the words, and so does a window that comes up.
void RootView::focusInEvent(QFocusEvent*) { m_transcript->textView().setFocus(); }

/// Space plays wherever the focus is, unless a control wants it for itself.
void RootView::keyPressEvent(QKeyEvent* event)
{
    if (event->key() != Qt::Key_Space || event->modifiers() != Qt::NoModifier) {
        QWidget::keyPressEvent(event);
        return;
    }
    if (!event->isAutoRepeat())
        m_editor.togglePlay();
}

} // namespace kelmo
