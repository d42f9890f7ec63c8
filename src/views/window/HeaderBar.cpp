#include "views/window/HeaderBar.h"

#include "views/controls/Button.h"
#include "views/controls/StyledMenu.h"
#include "views/controls/TabularLabel.h"
#include "views/style/ClockText.h"
#include "views/style/Theme.h"
#include "views/window/StatusLine.h"
#include "views/window/TakeMenu.h"

#include <QHBoxLayout>
#include <QShortcut>

namespace kelmo {

namespace {

constexpr int barHeight = 48;
/// The take's name lines up with the content below it, not with the edge of its button.
constexpr int leftEdge = 4;

} // namespace

HeaderBar::HeaderBar(Editor& editor, QWidget* parent)
    : QWidget(parent)
    , m_editor(editor)
    , m_take(new TakeMenu(editor, this))
    , m_summary(new TabularLabel(Theme::normalFont(), this))
    , m_status(new StatusLine(editor, this))
    , m_menu(new Button(Button::Kind::Plain, Button::Height::Small, QString(), this))
{
    setFixedHeight(barHeight);
    m_summary->setAccessibleDescription(QStringLiteral("Length of the edit, and what is removed"));
    m_menu->setSymbol(Icons::Symbol::Menu);
    m_menu->setAccessibleName(QStringLiteral("Menu"));
    m_menu->setToolTip(QStringLiteral("Menu (F10)"));
    m_menu->hide();

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(leftEdge, 0, Theme::windowEdge - 4, 0);
    layout->setSpacing(Theme::betweenButtons);
    layout->addWidget(m_take);
    layout->addWidget(m_summary);
    layout->addWidget(m_status, 1);
    layout->addWidget(m_menu);

    connect(&editor, &Editor::takeChanged, this, &HeaderBar::showSummary);
    connect(&editor, &Editor::timelineChanged, this, &HeaderBar::showSummary);
    showSummary();
}

void HeaderBar::setMainMenu(StyledMenu& menu)
{
    m_menu->opens(menu);
    m_menu->show();
    connect(new QShortcut(Qt::Key_F10, this), &QShortcut::activated, &menu, [this, &menu] { menu.openAt(*m_menu); });
}

QString HeaderBar::summary() const { return m_summary->text(); }

void HeaderBar::showSummary()
{
    m_summary->setVisible(m_editor.take().has_value());
    const Summary summary = Summary::of(m_editor.sourceDurationMs(), m_editor.timeline().durationMs);
    const QString gap = summary.text().mid(summary.length.size()).chopped(summary.removed.size());
    m_summary->setParts({{summary.length % gap, Theme::text2}, {summary.removed, Theme::yellow}});
}

} // namespace kelmo
