#pragma once

#include <QWidget>

namespace kelmo {

/// Lies over all of its parent and shows, while a file is dragged over the window, that it can be dropped there. Takes
/// no events. Main thread.
class DropHighlight : public QWidget {
    Q_OBJECT

public:
    explicit DropHighlight(QWidget* parent);

    void light(bool on);

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override; ///< Of the parent: follows its size.
};

} // namespace kelmo
