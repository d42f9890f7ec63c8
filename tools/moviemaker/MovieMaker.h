#pragma once

// Writes a movie picture by picture and sample by sample, for tests, benchmarks and the sample take: variable frame
// rates, long groups of pictures, rotation, late tracks and whatever else recorders do. It shares no code with the
// program's own media stack, so a fault there cannot hide here. One thread at a time.

#include "platform/Error.h"
#include "tools/moviemaker/MovieSpec.h"
#include "tools/moviemaker/PictureTrack.h"

#include <QImage>

#include <functional>
#include <memory>

namespace kelmo {

class MovieMaker {
public:
    /// Opens the file and its encoders. Fails when libav refuses the codec, the size, an option or the file.
    [[nodiscard]] static Result<MovieMaker> create(const MovieSpec& spec);

    MovieMaker(MovieMaker&&) noexcept;
    MovieMaker& operator=(MovieMaker&&) noexcept;
    ~MovieMaker();

    /// Adds a picture of the movie's size that shows from `pts` (in the video's time base) until the next one's pts.
    /// Times rise strictly; a first one above 0 makes the video start late.
    [[nodiscard]] Result<void> addVideoFrame(const QImage& picture, int64_t pts);
    /// The same, painted by the caller straight into the planes of the movie's pixel format; every byte is the
    /// caller's.
    [[nodiscard]] Result<void> addVideoFrame(const std::function<void(const PicturePlanes&)>& paint, int64_t pts);
    /// Adds the picture before once more, without converting it again.
    [[nodiscard]] Result<void> repeatVideoFrame(int64_t pts);

    /// Adds `frames` frames to audio track `track` (0-based, in the order of MovieSpec::audio), full scale ±1.
    [[nodiscard]] Result<void> addAudio(int track, const float* interleaved, int frames);

    /// Ends all tracks and closes the file. Without it the file is left unfinished, as by a recorder that crashed.
    [[nodiscard]] Result<void> finish();

private:
    struct Parts;
    explicit MovieMaker(std::unique_ptr<Parts> parts);
    std::unique_ptr<Parts> m_parts;
};

} // namespace kelmo
