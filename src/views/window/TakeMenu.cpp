#include "views/window/TakeMenu.h"

#include "views/controls/StyledMenu.h"
#include "views/style/Theme.h"
#include "views/window/OpenPanel.h"

namespace kelmo {

TakeMenu::TakeMenu(Editor& editor, QWidget* parent)
    : Button(Kind::Plain, Height::Small, QString(), parent)
    , m_editor(editor)
    , m_menu(new StyledMenu(this))
{
    setLabelFont(Theme::titleFont());
    setChevron(true);
    opens(*m_menu);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setToolTip(QStringLiteral("Takes in the recordings folder"));
    connect(m_menu, &QMenu::aboutToShow, this, &TakeMenu::fill);
    connect(&editor, &Editor::takeChanged, this, &TakeMenu::showTake);
    showTake();
}

void TakeMenu::showTake()
{
    setText(m_editor.take() ? m_editor.take()->base : QStringLiteral("No take"));
    setShortcut({}); // A "&" in a name makes no key.
    updateGeometry();
}

/// Filled each time it opens: takes come while the program runs.
void TakeMenu::fill()
{
    m_menu->clear();
    const std::vector<Take::Listing> takes = Take::list(Take::recordingsDir());
    for (const Take::Listing& take : takes) {
        QAction* row = m_menu->addAction(QString(take.base).replace(QLatin1Char('&'), QStringLiteral("&&")));
        row->setCheckable(true);
        row->setChecked(m_editor.take() && m_editor.take()->base == take.base);
        const QString path = take.url.toLocalFile();
        connect(row, &QAction::triggered, this, [this, path] { m_editor.open(path, Editor::Opener::Person); });
    }
    if (takes.empty())
        m_menu->addHeading(QStringLiteral("No takes in the recordings folder"));
    m_menu->addSeparator();
    QAction* open = m_menu->addAction(QStringLiteral("Open…"));
    connect(open, &QAction::triggered, this, [this] { OpenPanel::show(m_editor, window()); });
}

} // namespace kelmo
