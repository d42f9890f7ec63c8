#pragma once

#include "media/stack/core/MediaTime.h"
#include "media/stack/encode/PacketSink.h"
#include "media/stack/picture/VideoFrame.h"
#include "platform/Error.h"

#include <QString>
#include <QStringList>

#include <memory>

struct AVCodecContext;

namespace kelmo {

enum class VideoCodec { H264, Hevc };

/// What an encoder is asked to make.
struct VideoEncoding {
    enum class Aim {
        Speed, ///< A fixed average bit rate, as fast as keeps the picture.
        Quality, ///< The codec's best look, whatever the rate.
    };

    VideoCodec codec = VideoCodec::H264;
    Aim aim = Aim::Speed;
    int width = 0; ///< Pixels, even.
    int height = 0; ///< Pixels, even.
    int fps = 30; ///< Frames a second at most; times between them are free.
    int64_t bitRate = 0; ///< Bits a second; not used for Quality.
    ColorTags color;
};

/// A running video encoder: hardware where one opens and proves to work, software otherwise. Times are ticks of
/// `timeBase`. Owned by one thread at a time.
class VideoEncoder {
public:
    /// The clock of coded video, fine enough for any recorder's frame times.
    static constexpr Ratio timeBase{1, 90000};
    /// A key frame should fall at least this often.
    static constexpr int64_t keyInterval = 2 * timeBase.den;

    /// Tries the encoders for the codec in order, each by opening it and, for hardware, encoding a frame. Fails with
    /// every encoder's reason when none works.
    [[nodiscard]] static Result<std::unique_ptr<VideoEncoder>> open(const VideoEncoding& encoding);
    ~VideoEncoder();

    /// The name of the encoder in use, and why those before it were passed over, one sentence each.
    [[nodiscard]] const QString& name() const { return m_name; }
    [[nodiscard]] const QStringList& refusals() const { return m_refusals; }

    /// Encodes a picture of the agreed size at `pts`, which must grow; `key` makes it a key frame. Packets come out
    /// through `sink` on this thread.
    [[nodiscard]] Result<void> encode(const VideoFrame& frame, int64_t pts, bool key, const PacketSink& sink);
    /// Lets out everything still inside. Nothing may be encoded after.
    [[nodiscard]] Result<void> finish(const PacketSink& sink);

    [[nodiscard]] const AVCodecContext& context() const { return *m_context; }

private:
    VideoEncoder();

    QString m_name;
    QStringList m_refusals;
    std::unique_ptr<AVCodecContext, void (*)(AVCodecContext*)> m_context;
};

} // namespace kelmo
