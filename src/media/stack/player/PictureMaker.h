#pragma once

#include "media/stack/decode/TrackFrames.h"
#include "media/stack/picture/RgbScaler.h"
#include "media/stack/player/PictureGrid.h"

#include <QSize>

#include <list>

namespace kelmo {

/// Makes the pictures of an item as images of the size that is shown: decodes, draws the face over the screen, scales.
/// Decoders and recent pictures outlive the item, so that an edit reuses what was made before it. Owned by one thread.
class PictureMaker {
public:
    using Image = std::shared_ptr<const QImage>;
    using Use = TrackFrames::Use;
    using Stop = TrackFrames::Stop;

    /// Makes pictures of this item from now on. Null lets go of all media.
    void setItem(std::shared_ptr<const PlayerItem> item);

    /// How much to leave out from now on.
    void setDropLevel(FrameDropLevel dropLevel);
    [[nodiscard]] const PictureGrid& grid() const { return *m_grid; }

    /// How a picture is asked for: `stop` is asked between two packets whether to give up.
    struct Way {
        Use use = Use::Look;
        Scaling scaling = Scaling::Fast;
        Stop stop = {};
    };

    /// The picture of a moment, letterboxed into `box` pixels. Null when it cannot be decoded or is given up.
    [[nodiscard]] Image make(const PictureMoment& moment, QSize box, const Way& way);
    /// The same as a composed picture, at the item's own size.
    [[nodiscard]] VideoFrame compose(const PictureMoment& moment, Use use, const Stop& stop = {});

    /// How many samples of the screen must be decoded before make() can go on.
    [[nodiscard]] int costOf(const PictureMoment& moment) const;
    /// The moment of the same piece nearest to this one whose picture is there already; none within a third of a
    /// second.
    [[nodiscard]] std::optional<PictureMoment> knownNear(const PictureMoment& moment) const;

    /// Brings the decoders to a moment whose picture came from elsewhere, so that going on from there costs nothing.
    void getInStep(const PictureMoment& moment, const Stop& stop);
    /// Gets the decoders ready for the join that comes next, when it is less than `lead` after `time`.
    void prepareJoin(MediaTime time, MediaTime lead);

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

    [[nodiscard]] VideoFrame screenAt(std::optional<int> display, Use use, const Stop& stop);
    [[nodiscard]] std::shared_ptr<const FacePicture> faceAt(
        std::optional<int> display, ColorTags target, Use use, const Stop& stop);
    [[nodiscard]] std::shared_ptr<QImage> freshImage(QSize size);
    void prepareTrack(const CompositionTrack& track, TrackFrames* frames, MediaTime time, MediaTime lead) const;
    void openTracks();
    void applyDropLevel();

    std::shared_ptr<const PlayerItem> m_item;
    std::optional<PictureGrid> m_grid;
    FrameDropLevel m_dropLevel;

    std::unique_ptr<TrackFrames> m_screen;
    std::unique_ptr<TrackFrames> m_camera;

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
