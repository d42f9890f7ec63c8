#pragma once

// How the drawn face looks at one moment, and what makes it move: the voice opens the mouth, the rest follows slow
// waves and a seeded row of blinks. Values; any thread.

#include <QPointF>

#include <cstdint>
#include <vector>

namespace kelmo {

struct FaceState {
    double openness = 0; ///< Of the mouth, 0 to 1.
    double roundness = 0.5; ///< 0 for an "ee", 1 for an "oh".
    double blink = 0; ///< 1 is a closed eye.
    double brow = 0; ///< Raised by up to 1.
    QPointF sway; ///< Pixels at 1280 × 720.
    double tilt = 0; ///< Degrees.
    QPointF gaze; ///< From −1 to 1.
};

/// One state for each picture at `framesPerSecond` while `voice` (mono at 48 kHz) sounds.
[[nodiscard]] std::vector<FaceState> animateFace(
    const std::vector<float>& voice, double framesPerSecond, uint32_t seed);

} // namespace kelmo
