#include "views/RootView.h"

#include "views/ActionsRow.h"
#include "views/ControlRow.h"
#include "views/EmptyPlayer.h"
#include "views/FocusRing.h"
#include "views/HeaderBar.h"
#include "views/PlayerView.h"
#include "views/Theme.h"

#include <QDragEnterEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace kelmo {

namespace {

/// How the picture and what lies below it share the height, whatever comes and goes in either.
constexpr int playerShare = 300;
constexpr int lowerShare = 412;
constexpr int rowGap = 10;
constexpr int belowPlayer = 4;

constexpr double stepMs = 1000.0 / 30;
constexpr double jumpMs = 5000;

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

RootView::RootView(Editor& editor, QWidget* parent)
    : QWidget(parent)
    , m_editor(editor)
    , m_header(new HeaderBar(editor, this))
{
    setAcceptDrops(true);
    setFocusPolicy(Qt::ClickFocus);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_header);
    addPlayer(*column);
    addLowerPart(*column);
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
    column.addWidget(pages, playerShare);
    const auto choose = [this, pages, player, empty] {
        pages->setCurrentWidget(m_editor.take() ? static_cast<QWidget*>(player) : empty);
    };
    connect(&m_editor, &Editor::takeChanged, pages, choose);
    choose();
}

void RootView::addLowerPart(QVBoxLayout& column)
{
    auto* lower = new QWidget(this);
    auto* rows = new QVBoxLayout(lower);
    rows->setContentsMargins(Theme::windowEdge, belowPlayer, Theme::windowEdge, rowGap);
    rows->setSpacing(rowGap);
    rows->addWidget(new ControlRow(m_editor, lower));
    rows->addStretch(1);
    rows->addWidget(new ActionsRow(m_editor, lower));
    column.addWidget(lower, lowerShare);
}

QString RootView::summary() const { return m_header->summary(); }

void RootView::dragEnterEvent(QDragEnterEvent* event)
{
    if (!fileIn(*event->mimeData()).isEmpty())
        event->acceptProposedAction();
}

void RootView::dropEvent(QDropEvent* event)
{
    event->acceptProposedAction();
    m_editor.open(fileIn(*event->mimeData()));
}

/// Keys that no control with the focus wanted for itself.
void RootView::keyPressEvent(QKeyEvent* event)
{
    const bool shifted = event->modifiers() & Qt::ShiftModifier;
    if (event->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier)) {
        QWidget::keyPressEvent(event);
        return;
    }
    switch (event->key()) {
    case Qt::Key_Space:
        if (!event->isAutoRepeat())
            m_editor.togglePlay();
        return;
    case Qt::Key_Left:
        return moveBy(shifted ? -jumpMs : -stepMs);
    case Qt::Key_Right:
        return moveBy(shifted ? jumpMs : stepMs);
    case Qt::Key_Home:
        return moveBy(-m_editor.timeline().durationMs);
    case Qt::Key_End:
        return moveBy(m_editor.timeline().durationMs);
    default:
        QWidget::keyPressEvent(event);
    }
}

void RootView::moveBy(double editedMs)
{
    const Timeline& timeline = m_editor.timeline();
    const double target = std::clamp(m_editor.playhead().ms() + editedMs, 0.0, std::max(0.0, timeline.durationMs - 1));
    m_editor.previewSource(timeline.source(target));
}

} // namespace kelmo
