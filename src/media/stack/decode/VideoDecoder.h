#pragma once

#include "media/stack/container/Asset.h"
#include "media/stack/decode/FrameCache.h"
#include "media/stack/decode/HardwareDevice.h"
#include "platform/Error.h"

#include <functional>
#include <limits>
#include <span>

struct AVCodecContext;

namespace kelmo {

class PacketReader;

/// Decodes the pictures of one video track, exactly, in whatever order they are asked for. Moves forward where that is
/// cheaper than starting at a key picture, and skips frames that are not shown. Owned by one user at a time; not
/// thread-safe, but may move between threads. Opening takes a few milliseconds, so keep it.
class VideoDecoder {
public:
    /// Asked between two packets: true gives up, and leaves the decoder on its way.
    using Stop = std::function<bool()>;

    /// `threads` is how many frames may be decoded at once. With a `device`, that decodes for as long as it can; then
    /// software takes over. Requires a video track of `asset`.
    [[nodiscard]] static Result<std::unique_ptr<VideoDecoder>> open(std::shared_ptr<const Asset> asset,
        const Track& track, int threads, std::shared_ptr<const HardwareDevice> device = nullptr);
    ~VideoDecoder();

    /// The picture of an entry of the track's display list, as the stream has it (any pixel format, not yet rotated).
    /// A picture that the file lost is answered with the one shown before it, or else the next there is. Fails only
    /// when the file cannot be read, nothing at all can be decoded, or `stop` says so; then the next call goes on from
    /// where this one was.
    [[nodiscard]] Result<VideoFrame> frame(int display, const Stop& stop = {});

    /// Announces the entries that will be asked for next, ascending: others are not decoded unless these depend on
    /// them, and nothing is read beyond the last. An empty list ends the announcement.
    void expect(std::span<const int> frames);

    /// For playing: of the entries after the one asked for, only those whose sample is marked will be asked for next.
    /// Any other may still be asked for, at the cost of starting again. Null when all will be. With `referencesOnly`,
    /// one that no other picture refers to is answered with the one shown before it.
    void setWanted(std::shared_ptr<const std::vector<bool>> samples, bool referencesOnly = false);

    /// Puts every picture that comes out in here from now on, those on the way included.
    void keepIn(std::shared_ptr<FrameCache> cache) { m_cache = std::move(cache); }

    /// How many samples must be decoded to get to an entry from here.
    [[nodiscard]] int costOf(int display) const;

    [[nodiscard]] const Track& track() const { return m_track; }
    [[nodiscard]] const std::shared_ptr<const HardwareDevice>& device() const
    {
        return m_device;
    } ///< That decodes now.
    [[nodiscard]] bool hasFallenBack() const { return m_hasFallenBack; } ///< From a device to software.

private:
    VideoDecoder(std::shared_ptr<const Asset> asset, const Track& track, int threads);

    [[nodiscard]] Result<void> openCodec();
    [[nodiscard]] Result<void> fallBack(int display);

    [[nodiscard]] bool isAhead(int display) const;
    void noteSkipped(int sample);
    [[nodiscard]] bool wasSkipped(int display) const;
    void restartAt(int sample);
    [[nodiscard]] Result<void> feed(int64_t targetPts);
    [[nodiscard]] bool isWanted(int sample, int64_t targetPts) const;
    [[nodiscard]] Result<VideoFrame> decodeUpTo(int display, const Stop& stop);
    [[nodiscard]] int keyBefore(int sample) const;
    [[nodiscard]] Result<VideoFrame> nearestTo(int display, const Stop& stop);
    [[nodiscard]] Result<bool> receive(int display, VideoFrame& picture);
    void take(VideoFrame frame, int64_t pts);

    std::shared_ptr<const Asset> m_asset;
    const Track& m_track;
    const int m_threads;
    std::shared_ptr<const HardwareDevice> m_device; ///< Null in software.
    bool m_hasFallenBack = false;
    std::unique_ptr<PacketReader> m_reader;
    std::unique_ptr<AVCodecContext, void (*)(AVCodecContext*)> m_codec;

    int m_next = -1; ///< The sample to feed next; -1 before the first.
    int m_start = 0; ///< The sample that feeding last started at.
    bool m_draining = false;
    bool m_mustRestart = false;
    int m_errors = 0; ///< In a row.
    VideoFrame m_shown; ///< The last picture that came out at or before the target,
    int64_t m_shownPts = std::numeric_limits<int64_t>::min();
    VideoFrame m_ahead; ///< and one that came out too far, when the one in between is lost.
    int64_t m_aheadPts = 0;
    std::vector<int32_t> m_expected; ///< Sample numbers, ascending.
    std::shared_ptr<const std::vector<bool>> m_wanted;
    bool m_referencesOnly = false;
    std::vector<int32_t> m_skipped; ///< Samples fed as unwanted since the last start, ascending.
    std::shared_ptr<FrameCache> m_cache;
};

} // namespace kelmo
