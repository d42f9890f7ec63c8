#pragma once

namespace kelmo {

/// A half-open range of a text, in UTF-16 units. A plain value.
struct TextRange {
    int location = 0; ///< Included.
    int length = 0; ///< 0 for a caret.

    bool operator==(const TextRange&) const = default;

    [[nodiscard]] int end() const { return location + length; } ///< Not included.
    /// At least one character belongs to both.
    [[nodiscard]] bool overlaps(TextRange other) const
    {
        const int from = location > other.location ? location : other.location;
        return from < (end() < other.end() ? end() : other.end());
    }
};

} // namespace kelmo
