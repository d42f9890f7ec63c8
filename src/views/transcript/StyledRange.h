#pragma once

#include "views/transcript/TextRange.h"

namespace kelmo {

/// How a word of the transcript looks.
enum class WordStyle { Kept, Filler, Cut };

/// A word in the text and how it looks. A plain value. In a list of them, no range begins before the one before it
/// ends.
struct StyledRange {
    TextRange range;
    WordStyle style = WordStyle::Kept;

    bool operator==(const StyledRange&) const = default;
};

} // namespace kelmo
