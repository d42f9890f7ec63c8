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
    /// Opens below `button`, or above it and to its left where it would stick out of the window. A second click on the
    /// button closes it. Longer than the screen has room for, it scrolls.
    void openAt(QWidget& button);

protected:
    void mousePressEvent(QMouseEvent* event) override;

private:
    QPointer<QWidget> m_button;
};

} // namespace kelmo
