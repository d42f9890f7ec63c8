#pragma once

// Decides what the screen shows when: slides and their steps follow the spoken lines, code is typed, the pointer
// wanders to whatever is being talked about. Immutable after construction; times are milliseconds on the screen's
// clock.

#include "tools/sample-take/ScreenState.h"
#include "tools/sample-take/SpokenTalk.h"

namespace kelmo {

class ScreenDirector {
public:
    /// `voiceOffsetMs` is added to the talk's times to get the screen's.
    ScreenDirector(const SpokenTalk& talk, double voiceOffsetMs, uint32_t seed);

    [[nodiscard]] ScreenState at(double ms) const;

    [[nodiscard]] const std::vector<double>& keyTimes() const { return m_keyTimes; }
    [[nodiscard]] std::vector<double> slideTimes() const;

private:
    struct Move {
        double startMs;
        double endMs;
        QPointF from;
        QPointF bend; ///< Middle control point: hands draw arcs.
        QPointF to;
    };

    void planPointer(uint32_t seed);
    void planTyping(uint32_t seed);
    [[nodiscard]] SlideState slideAt(size_t line, double ms) const;
    [[nodiscard]] size_t lineAt(double ms) const;
    [[nodiscard]] QPoint pointerAt(double ms) const;
    [[nodiscard]] double slideStart(size_t line) const;

    std::vector<SpokenLine> m_lines; ///< On the screen's clock.
    std::vector<Move> m_moves;
    std::vector<double> m_keyTimes;
};

} // namespace kelmo
