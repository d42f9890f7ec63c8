#pragma once

#include "views/transcript/TextPage.h"

#include <QKeyEvent>

namespace kelmo {

/// The caret in a page and the selection that it spans with its anchor. Knows how keys and the mouse move it. A value
/// beside its page, which it asks where characters are. Main thread only.
class TextCaret {
public:
    enum class Step {
        Left,
        Right,
        WordLeft,
        WordRight,
        Up,
        Down,
        PageUp,
        PageDown,
        LineStart,
        LineEnd,
        TextStart,
        TextEnd
    };
    enum class Anchor { Follows, Stays }; ///< Stays where it is: the selection grows.
    enum class Unit { Character, Word, Paragraph };
    struct Move {
        Step step;
        Anchor anchor;
    };

    explicit TextCaret(const TextPage& page)
        : m_page(page)
    {
    }

    [[nodiscard]] int position() const { return m_position; }
    [[nodiscard]] TextRange selection() const; ///< Of length 0 when there is only a caret.

    /// Positions beyond the text count as its end.
    void set(TextRange selection);
    void move(Move move, double pageHeight);
    /// The mouse is pressed: selects the unit there. `extendTo` then grows the selection by whole units.
    void begin(int position, Unit unit);
    void extendTo(int position);
    void grow(int position); ///< Selects from the anchor to there.

    /// What a key asks for, by the desktop's own key bindings.
    [[nodiscard]] static std::optional<Move> moveFor(const QKeyEvent& key);

private:
    [[nodiscard]] int target(Step step, double pageHeight);
    [[nodiscard]] int sideways(Step step) const;
    [[nodiscard]] int downwards(double distance);
    [[nodiscard]] int nextWord(bool forward) const;
    [[nodiscard]] TextRange unitAt(int position) const;

    const TextPage& m_page;
    int m_anchor = 0;
    int m_position = 0;
    std::optional<double> m_x; ///< Where moving up and down aims, across shorter lines.
    Unit m_unit = Unit::Character;
    TextRange m_begun; ///< The unit that the mouse was pressed on.
};

} // namespace kelmo
