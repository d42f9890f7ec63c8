#pragma once

#include "views/style/ColorFade.h"

#include <QAbstractButton>

namespace kelmo {

/// A switch with its label to the left of it; the whole row can be clicked. Main thread.
class Toggle : public QAbstractButton {
    Q_OBJECT

public:
    Toggle(const QString& text, QWidget* parent);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    ColorFade m_track{*this};
};

} // namespace kelmo
