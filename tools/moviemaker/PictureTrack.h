#pragma once

// The video half of MovieMaker: pictures in, packets with exact times out. Owned by MovieMaker, lives on its thread.

#include "platform/Error.h"
#include "tools/moviemaker/LibavHandles.h"
#include "tools/moviemaker/MovieSpec.h"

#include <QImage>

#include <functional>
#include <map>

namespace kelmo {

/// One picture's planes, to be painted in the movie's own pixel format. Sizes are those of the luma plane.
struct PicturePlanes {
    std::array<uint8_t*, 3> data;
    std::array<int, 3> stride; ///< Bytes.
    int width = 0;
    int height = 0;
};

class PictureTrack {
public:
    using Sink = std::function<Result<void>(AVPacket&)>;

    /// `globalHeader` as the container asks for it. Packets go to `sink` in decoding order.
    [[nodiscard]] static Result<std::unique_ptr<PictureTrack>> open(
        const VideoSpec& spec, bool globalHeader, Sink sink);

    [[nodiscard]] const AVCodecContext& context() const { return *m_context; }

    [[nodiscard]] Result<void> add(const QImage& picture, int64_t pts);
    [[nodiscard]] Result<void> add(const std::function<void(const PicturePlanes&)>& paint, int64_t pts);
    /// The picture before once more, at another time.
    [[nodiscard]] Result<void> addAgain(int64_t pts);
    [[nodiscard]] Result<void> finish();

private:
    PictureTrack(const VideoSpec& spec, Sink sink);
    [[nodiscard]] Result<void> openCodec(bool globalHeader);
    void applyCodecOptions(class LibavOptions& options) const;
    [[nodiscard]] Result<void> openConverter();
    [[nodiscard]] Result<void> takeNewFrame();
    [[nodiscard]] Result<void> sendHeld(int64_t nextPts);
    [[nodiscard]] Result<void> drain();
    [[nodiscard]] Result<void> deliver(LibavHandle<AVPacket> packet);

    VideoSpec m_spec;
    Sink m_sink;
    LibavHandle<AVCodecContext> m_context;
    LibavHandle<SwsContext> m_converter;
    LibavHandle<AVFrame> m_held; ///< Waits for its successor, whose time tells how long it lasts.
    LibavHandle<AVPacket> m_lastPacket; ///< Waits too: the last one in decoding order carries the last duration.
    bool m_hasHeld = false;
    int64_t m_lastDuration = 0;
    std::map<int64_t, int64_t> m_durations; ///< By pts, for the frames inside the encoder.
};

} // namespace kelmo
