#pragma once

#include "media/stack/player/FrameDropPolicy.h"
#include "media/stack/player/PlayerItem.h"

namespace kelmo {

/// One picture of an edit and when it is on show, on the edited clock.
struct PictureMoment {
    MediaTime start;
    MediaTime end; ///< Not included; later than `start`.
    std::optional<int> screen; ///< Entry of the screen track's display list; none in a gap.
    std::optional<int> camera;
};

/// Which pictures of an item are shown while it plays. The grid counts on the source's clock and not on the edit's, so
/// that an edit elsewhere leaves it alone: the pictures decoded ahead before it are those wanted after it. Immutable.
class PictureGrid {
public:
    PictureGrid(std::shared_ptr<const PlayerItem> item, FrameDropLevel dropLevel);

    /// The picture of the grid on show at a time.
    [[nodiscard]] PictureMoment at(MediaTime time) const;
    /// Precisely what the edit shows at a time, until the grid's next picture.
    [[nodiscard]] PictureMoment exactAt(MediaTime time) const;

    /// The samples of the screen track that the grid shows, by number; null when it shows all of them.
    [[nodiscard]] std::shared_ptr<const std::vector<bool>> wantedSamples() const;

    /// The first segment of a track that starts at or after a time.
    [[nodiscard]] static const CompositionSegment* segmentFrom(const CompositionTrack& track, MediaTime time);

private:
    [[nodiscard]] PictureMoment gapAt(MediaTime time) const;
    [[nodiscard]] PictureMoment stepAt(const CompositionSegment& segment, MediaTime source) const;
    [[nodiscard]] PictureMoment ownAt(const CompositionSegment& segment, MediaTime source) const;
    [[nodiscard]] PictureMoment keyAt(const CompositionSegment& segment, MediaTime source) const;
    [[nodiscard]] MediaTime presentTime(int display) const;

    std::shared_ptr<const PlayerItem> m_item;
    const CompositionTrack& m_screen;
    int m_perSecond; ///< Steps of the grid; 0 when every picture is shown at its own time.
    int m_stride; ///< Shows every n-th of them.
    bool m_keysOnly;
};

} // namespace kelmo
