#pragma once

#include <QElapsedTimer>
#include <QScrollBar>
#include <QVariantAnimation>

namespace kelmo {

/// Scrolls a view by itself, in a short glide, and keeps out of the way while the user scrolls. Owned by the view whose
/// scroll bar it moves; main thread.
class ScrollGlide {
public:
    explicit ScrollGlide(QScrollBar& bar);

    void to(int value); ///< At once when the desktop asks for less motion.
    void stop();
    void rest(); ///< The user scrolls: stops, and rests for a moment.
    [[nodiscard]] bool isResting() const;
    [[nodiscard]] int destination() const; ///< Where it is going, or is.

private:
    QScrollBar& m_bar;
    QVariantAnimation m_animation;
    QElapsedTimer m_sinceUser;
};

} // namespace kelmo
