#pragma once

#include "media/stack/player/PlayerItem.h"

namespace kelmo {

/// How an edit goes on from where another one plays: for a while both show and sound the same, only at another time of
/// their clocks. While that lasts, what was made for the one serves the other. A plain value.
struct Continuation {
    MediaTime shift; ///< What to add to a time of the old edit.
    int64_t soundShift = 0; ///< The same for its sound, in samples.
    MediaTime until; ///< The old edit's time at which they part; not included.

    /// None when `after` does not show at `afterAt` what `before` shows at `at`, give or take `tolerance`, or makes
    /// pictures of another form.
    [[nodiscard]] static std::optional<Continuation> find(
        const PlayerItem& before, MediaTime at, const PlayerItem& after, MediaTime afterAt, MediaTime tolerance);
};

} // namespace kelmo
