#pragma once

#include "media/LoadedTake.h"
#include "media/Thumbnail.h"
#include "media/stack/picture/RgbScaler.h"

#include <QSize>

namespace kelmo {

/// Makes small pictures of a movie near given moments, decoding as little as the tolerance allows. Used by one worker
/// at a time and blocks it; cancel() may come from any thread.
class ThumbnailGenerator {
public:
    static constexpr QSize largest{220, 124}; ///< Pixels; pictures keep their shape and are never enlarged.
    static constexpr double toleranceMs = 250; ///< How far off a picture may be, before and after.

    explicit ThumbnailGenerator(LoadedTake::Source movie);

    /// An upright picture that is on show at some moment within the tolerance of `ms` of the movie's time. Fails when
    /// nothing can be decoded there, and after cancel().
    [[nodiscard]] Result<QImage> image(double ms);

    /// The key picture that decoding towards `ms` starts at: however far back it is, it takes a single sample. None
    /// where image() takes hardly more, and where it fails.
    [[nodiscard]] std::optional<Thumbnail> keyPicture(double ms);

    void cancel() { m_cancelled = true; } ///< Lets a running call fail soon, and every later one at once.

private:
    [[nodiscard]] Result<void> open();
    [[nodiscard]] Result<QImage> decoded(int display);
    [[nodiscard]] int cheapest(double ms) const;

    const LoadedTake::Source m_movie;
    FrameConverter m_converter;
    RgbScaler m_toRgb;
    std::unique_ptr<VideoDecoder> m_decoder; ///< Opened by the first picture.
    std::atomic<bool> m_cancelled = false;
};

} // namespace kelmo
