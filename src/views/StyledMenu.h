#pragma once

#include <QMenu>
#include <QPointer>

namespace kelmo {

/// A menu in this program's look. Main thread.
class StyledMenu : public QMenu {
    Q_OBJECT

public:
    explicit StyledMenu(QWidget* parent, const QString& title = {});

    /// A heading over the rows that follow; it cannot be chosen.
    void addHeading(const QString& text);
    /// Opens below `button`, right-aligned with it where it would leave the screen. A second click on it closes.
    void openBelow(QWidget& button);

protected:
    void mousePressEvent(QMouseEvent* event) override;

private:
    QPointer<QWidget> m_button;
};

} // namespace kelmo
