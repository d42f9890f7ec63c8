#pragma once

#include "media/stack/core/MediaTime.h"
#include "media/stack/encode/PartFile.h"
#include "platform/Error.h"

#include <QString>

#include <condition_variable>
#include <memory>
#include <mutex>

struct AVCodecContext;
struct AVFormatContext;
struct AVPacket;

namespace kelmo {

/// Writes an MP4 with its index in front. The file grows under a temporary name beside the final one and takes that
/// name when it is whole; a writer that is destroyed before leaves nothing behind. Video and sound may be written from
/// two threads: sound waits when it runs far ahead, because the file needs them side by side.
class MovieWriter {
public:
    /// Starts a file for what these encoders give; `audio` null writes a silent movie. The last picture is shown until
    /// `videoEnd`, in ticks of the video encoder.
    [[nodiscard]] static Result<std::unique_ptr<MovieWriter>> create(
        const QString& path, const AVCodecContext& video, const AVCodecContext* audio, int64_t videoEnd);
    ~MovieWriter();

    /// Takes the packet's content over. Times are in the encoder's time base.
    [[nodiscard]] Result<void> writeVideo(AVPacket& packet);
    [[nodiscard]] Result<void> writeAudio(AVPacket& packet);

    /// No more video will come, or the export was given up: waiting audio goes on.
    void endVideo();

    /// Completes the file and gives it its name. Fails, with nothing left behind, when the disk is full.
    [[nodiscard]] Result<void> finish();

private:
    MovieWriter() = default;

    [[nodiscard]] Result<void> addStream(const AVCodecContext& encoder);
    [[nodiscard]] Result<void> start();
    [[nodiscard]] Result<void> write(AVPacket& packet, int stream);
    [[nodiscard]] tl::unexpected<Error> failed(int code) const;

    QString m_path;
    std::unique_ptr<PartFile> m_part; ///< Before what writes to it, which is gone first.
    std::unique_ptr<AVFormatContext, void (*)(AVFormatContext*)> m_format{nullptr, nullptr};
    Ratio m_timeBases[2]; ///< Of the encoders, by stream.
    int64_t m_videoEnd = 0;

    std::mutex m_mutex; ///< Guards everything below, and the file.
    std::condition_variable m_advanced;
    MediaTime m_videoReached; ///< How far the written video has come.
    bool m_videoEnded = false;
};

} // namespace kelmo
