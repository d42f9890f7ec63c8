#pragma once

#include "media/stack/PictureGrid.h"
#include "media/stack/RgbScaler.h"
#include "media/stack/TrackFrames.h"

#include <QSize>

#include <list>

namespace kelmo {

/// Makes the pictures of an item as images of the size that is shown: decodes, draws the face over the screen, scales.
/// Decoders and recent images outlive the item, so that an edit reuses what was made before it. Owned by one thread;
/// cancel() may come from any.
class PictureMaker {
public:
    using Image = std::shared_ptr<const QImage>;

    /// Makes pictures of this item from now on. Null lets go of all media.
    void setItem(std::shared_ptr<const PlayerItem> item);

    /// Leaves out what coarser grids do not show; see PictureGrid.
    void setThinning(int thinning);
    [[nodiscard]] const PictureGrid& grid() const { return *m_grid; }

    /// The picture of a moment, letterboxed into `box` pixels. Null when it cannot be decoded.
    [[nodiscard]] Image make(const PictureMoment& moment, QSize box, Scaling scaling);
    /// The same as a composed picture, at the item's own size.
    [[nodiscard]] VideoFrame compose(const PictureMoment& moment);

    /// Gets the decoders ready for the join that comes next, when it is less than `lead` after `time`.
    void prepareJoin(MediaTime time, MediaTime lead);

    void cancel(); ///< For quitting: a running make() ends soon.

private:
    struct Key {
        std::optional<int> screen;
        std::optional<int> camera;
        QSize size;
        Scaling scaling = Scaling::Fast;
        bool operator==(const Key&) const = default;
    };
    struct Made {
        Key key;
        std::shared_ptr<QImage> image;
    };

    [[nodiscard]] VideoFrame screenAt(std::optional<int> display);
    [[nodiscard]] std::shared_ptr<const FacePicture> faceAt(std::optional<int> display, ColorTags target);
    [[nodiscard]] std::shared_ptr<QImage> freshImage(QSize size);
    void prepareTrack(const CompositionTrack& track, TrackFrames* frames, MediaTime time, MediaTime lead) const;
    void openTracks();

    std::shared_ptr<const PlayerItem> m_item;
    std::optional<PictureGrid> m_grid;
    int m_thinning = 0;

    std::mutex m_mutex; ///< Guards the two pointers against cancel().
    std::unique_ptr<TrackFrames> m_screen;
    std::unique_ptr<TrackFrames> m_camera;
    bool m_cancelled = false;

    std::unique_ptr<FrameConverter> m_converter;
    std::unique_ptr<FaceScaler> m_faceScaler;
    RgbScaler m_quickScaler;
    RgbScaler m_fineScaler;
    VideoFrame m_screenDecoded; ///< What the picture below was made from.
    VideoFrame m_screenReady;
    VideoFrame m_cameraDecoded;
    std::shared_ptr<const FacePicture> m_faceReady;
    std::list<Made> m_made; ///< Latest first.
    std::vector<std::shared_ptr<QImage>> m_spare;
};

} // namespace kelmo
