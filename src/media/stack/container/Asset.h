#pragma once

#include "media/stack/container/SampleIndex.h"
#include "media/stack/picture/VideoFrame.h"
#include "platform/Error.h"

#include <memory>
#include <vector>

struct AVCodecParameters;
struct AVPacket;

namespace kelmo {

enum class MediaType { Video, Audio };

/// One video or audio track of an asset. Immutable; lives as long as its asset.
struct Track {
    int stream = 0; ///< Index of the stream in the file.
    MediaType type = MediaType::Video;
    SampleIndex index;
    TimeRange range; ///< When the track shows something, on the file's clock.
    std::shared_ptr<const AVCodecParameters> parameters;

    // Video only.
    int naturalWidth = 0; ///< Pixels, square, before the rotation.
    int naturalHeight = 0;
    int quarterTurns = 0; ///< Clockwise turns, 0 to 3, that make the picture upright.
    double nominalFps = 0; ///< Frames a second on average.
    ColorTags color; ///< What the container says; the stream itself may know more.

    // Audio only.
    int sampleRate = 0; ///< Hz.
    int channels = 0;
    /// Where the sound of each sample starts, in samples at `sampleRate` on the media's own clock; empty where the
    /// index's own times are exact.
    std::vector<int64_t> soundPositions;

    [[nodiscard]] int uprightWidth() const { return quarterTurns % 2 ? naturalHeight : naturalWidth; }
    [[nodiscard]] int uprightHeight() const { return quarterTurns % 2 ? naturalWidth : naturalHeight; }
};

/// A media file, opened once: its tracks with their exact times, and the samples that decoders read through it.
/// Immutable and shared; every function may be called from any thread.
class Asset {
public:
    /// Opens a movie and reads its tables. Fails with a sentence that names the file when it is missing, unfinished,
    /// damaged or not a movie. Blocks for as long as the tables take to read (milliseconds to a few hundred).
    [[nodiscard]] static Result<std::shared_ptr<const Asset>> open(const QString& path);
    ~Asset();
    Asset(const Asset&) = delete;
    Asset& operator=(const Asset&) = delete;

    [[nodiscard]] const QString& path() const { return m_path; }
    [[nodiscard]] QString name() const; ///< The file's name, for messages.
    [[nodiscard]] const std::vector<Track>& tracks() const { return m_tracks; } ///< In file order.
    [[nodiscard]] MediaTime duration() const { return m_duration; } ///< The end of the longest track.
    [[nodiscard]] bool isMov() const { return m_isMov; }

    /// Reads the bytes of a sample into `packet`. Requires a sample with a position. Fails when the file has been cut
    /// short or taken away since.
    [[nodiscard]] Result<void> readSample(const Sample& sample, AVPacket& packet) const;

private:
    Asset() = default;

    QString m_path;
    int m_file = -1;
    bool m_isMov = false;
    std::vector<Track> m_tracks;
    MediaTime m_duration;
};

} // namespace kelmo
