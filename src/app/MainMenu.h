#pragma once

#include "views/controls/StyledMenu.h"

#include <QAction>

namespace kelmo {

class AppDelegate;

/// The program's commands as a menu and as keys. One for the program, owned by the AppDelegate; main thread.
class MainMenu : public QObject {
    Q_OBJECT

public:
    explicit MainMenu(AppDelegate& delegate);

    [[nodiscard]] StyledMenu& menu() { return m_menu; }

    /// Makes the commands' keys work in `window`, whatever has the focus there.
    void addKeysTo(QWidget& window);

    /// Whether keys are those of a command that comes before what a text field would do with them.
    [[nodiscard]] bool comesBeforeFields(const QKeySequence& keys) const;

    void validate(); ///< Updates which commands are enabled and what their titles name.

private:
    struct Row;
    static const std::vector<Row>& rows();

    AppDelegate& m_delegate;
    StyledMenu m_menu;
    std::vector<QAction*> m_actions; ///< One for each row, in order; none for a separator.
};

} // namespace kelmo
