#pragma once

// All that the screen of the sample take shows at one moment. Two equal states look the same, so only a change of
// state makes a new frame.

#include <QPoint>

namespace kelmo {

/// Animations run in this many steps, from 0 to this value.
constexpr int kPhases = 60;

struct SlideState {
    int slide = 0;
    int step = 0;
    int phase = kPhases; ///< How far the latest step has appeared.
    int typed = 0; ///< Characters of the code slide.
    bool caret = true;

    bool operator==(const SlideState&) const = default;
};

struct ScreenState {
    SlideState slide;
    SlideState before; ///< The slide that is leaving, while `entered` is below kPhases.
    int entered = kPhases;
    QPoint pointer; ///< In 1920 × 1080 coordinates, as all slides are painted.

    bool operator==(const ScreenState&) const = default;
};

} // namespace kelmo
