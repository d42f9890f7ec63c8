#include "app/MainMenu.h"

#include "app/AppDelegate.h"

namespace kelmo {

namespace {

enum class Place { Top, File, Edit };
/// Who gets the keys of a command while a text field has the focus.
enum class Keys { Command, FieldFirst };

} // namespace

/// One command; a row without a title is a separator.
struct MainMenu::Row {
    Place place;
    QString title;
    QKeySequence keys;
    void (AppDelegate::*command)() = nullptr;
    bool (AppDelegate::*isEnabled)() const = nullptr; ///< None for always.
    Keys keysGoTo = Keys::Command;
    QString (AppDelegate::*step)() const = nullptr; ///< What the title ends with; may be empty.
    QKeySequence otherKeys = {}; ///< Do the same and are not shown.
};

const std::vector<MainMenu::Row>& MainMenu::rows()
{
    using App = AppDelegate;
    using namespace Qt::StringLiterals;
    static const std::vector<Row> rows{
        {Place::File, u"Open…"_s, Qt::CTRL | Qt::Key_O, &App::openTake},
        {Place::File, u"Open Newest Take"_s, Qt::CTRL | Qt::SHIFT | Qt::Key_O, &App::openNewest},
        {Place::File, {}, {}},
        {Place::File, u"Export"_s, Qt::CTRL | Qt::Key_E, &App::exportVideo},
        {Place::File, u"Share / Update Link"_s, Qt::CTRL | Qt::SHIFT | Qt::Key_S, &App::share},
        {Place::File, u"Close Window"_s, Qt::CTRL | Qt::Key_W, &App::closeWindow},
        {Place::Edit, u"Undo"_s, Qt::CTRL | Qt::Key_Z, &App::undo, &App::canUndo, Keys::FieldFirst, &App::undoStep},
        {Place::Edit, u"Redo"_s, Qt::CTRL | Qt::SHIFT | Qt::Key_Z, &App::redo, &App::canRedo, Keys::FieldFirst,
            &App::redoStep, Qt::CTRL | Qt::Key_Y},
        {Place::Edit, {}, {}},
        {Place::Edit, u"Copy"_s, Qt::CTRL | Qt::Key_C, &App::copy, nullptr, Keys::FieldFirst},
        {Place::Edit, u"Select All"_s, Qt::CTRL | Qt::Key_A, &App::selectAll, nullptr, Keys::FieldFirst},
        {Place::Edit, {}, {}},
        {Place::Edit, u"Cut Fillers"_s, {}, &App::cutFillers},
        {Place::Edit, u"Tighten Pauses"_s, {}, &App::tighten},
        {Place::Edit, {}, {}},
        {Place::Edit, u"Trim Start to Playhead"_s, Qt::ALT | Qt::Key_BracketLeft, &App::trimStart, &App::canTrim},
        {Place::Edit, u"Trim End to Playhead"_s, Qt::ALT | Qt::Key_BracketRight, &App::trimEnd, &App::canTrim},
        {Place::Edit, u"Split at Playhead"_s, Qt::CTRL | Qt::Key_B, &App::splitAtPlayhead},
        {Place::Edit, u"Clear Trim"_s, Qt::ALT | Qt::Key_Backslash, &App::clearTrim, &App::canClearTrim},
        {Place::Top, u"Settings…"_s, Qt::CTRL | Qt::Key_Comma, &App::showSettings},
        {Place::Top, {}, {}},
        {Place::Top, u"Quit Vorlix"_s, Qt::CTRL | Qt::Key_Q, &App::quit},
    };
    return rows;
}

MainMenu::MainMenu(AppDelegate& delegate)
    : m_delegate(delegate)
    , m_menu(nullptr)
{
    auto* file = new StyledMenu(&m_menu, QStringLiteral("File"));
    auto* edit = new StyledMenu(&m_menu, QStringLiteral("Edit"));
    m_menu.addMenu(file);
    m_menu.addMenu(edit);
    m_menu.addSeparator();
    for (const Row& row : rows()) {
        QMenu& menu = row.place == Place::File ? *file : row.place == Place::Edit ? *edit : m_menu;
        if (row.title.isEmpty()) {
            menu.addSeparator();
            m_actions.push_back(nullptr);
            continue;
        }
        QAction* action = menu.addAction(row.title);
        action->setShortcuts({row.keys, row.otherKeys});
        action->setShortcutContext(Qt::ApplicationShortcut);
        connect(action, &QAction::triggered, &delegate, row.command);
        m_actions.push_back(action);
    }
    connect(&m_menu, &QMenu::aboutToShow, this, &MainMenu::validate);
}

void MainMenu::addKeysTo(QWidget& window)
{
    for (QAction* action : m_actions) {
        if (action)
            window.addAction(action);
    }
}

bool MainMenu::comesBeforeFields(const QKeySequence& keys) const
{
    for (size_t i = 0; i < m_actions.size(); ++i) {
        if (m_actions[i] && m_actions[i]->isEnabled() && m_actions[i]->shortcuts().contains(keys))
            return rows()[i].keysGoTo == Keys::Command;
    }
    return false;
}

void MainMenu::validate()
{
    for (size_t i = 0; i < m_actions.size(); ++i) {
        const Row& row = rows()[i];
        if (!m_actions[i])
            continue;
        m_actions[i]->setEnabled(!row.isEnabled || (m_delegate.*row.isEnabled)());
        if (row.step)
            m_actions[i]->setText(QString(row.title % u' ' % (m_delegate.*row.step)()).trimmed());
    }
}

} // namespace kelmo
