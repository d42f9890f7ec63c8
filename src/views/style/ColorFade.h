#pragma once

#include <QColor>
#include <QVariantAnimation>

class QWidget;

namespace kelmo {

/// One colour of a control that fades to its next value when the pointer comes, goes or presses. A member of the
/// control; main thread.
class ColorFade {
public:
    explicit ColorFade(QWidget& control);

    /// The colour to paint with now, on its way to `target`. Called while painting; a target that differs from the last
    /// one starts the fade, the first one is there at once.
    [[nodiscard]] QColor towards(const QColor& target);

private:
    QVariantAnimation m_animation;
    QColor m_target;
};

} // namespace kelmo
