#pragma once

#include "editor/Editor.h"

#include <QWidget>

namespace kelmo {

/// What is in the picture's place while no take is open: how to open one, and where recordings are looked for. Main
/// thread.
class EmptyPlayer : public QWidget {
    Q_OBJECT

public:
    EmptyPlayer(Editor& editor, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace kelmo
