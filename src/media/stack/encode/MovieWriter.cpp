#include "media/stack/encode/MovieWriter.h"

#include "media/stack/core/AvHandles.h"

#include <QFile>
#include <QFileInfo>

namespace kelmo {

namespace {

constexpr int videoStream = 0;
constexpr int audioStream = 1;
/// How far sound may run ahead of the picture: enough to never hold it up, little enough to interleave well.
constexpr MediaTime maxAhead{1'500'000};

void closeAndFree(AVFormatContext* format)
{
    avio_closep(&format->pb);
    avformat_free_context(format);
}

} // namespace

Result<std::unique_ptr<MovieWriter>> MovieWriter::create(
    const QString& path, const AVCodecContext& video, const AVCodecContext* audio, int64_t videoEnd)
{
    std::unique_ptr<MovieWriter> writer(new MovieWriter);
    writer->m_path = path;
    writer->m_videoEnd = videoEnd;
    AVFormatContext* format = nullptr;
    if (const int code = avformat_alloc_output_context2(&format, nullptr, "mp4", nullptr); code < 0)
        return writer->failed(code);
    writer->m_format = {format, closeAndFree};

    if (Result<void> added = writer->addStream(video); !added)
        return tl::unexpected(added.error());
    if (audio) {
        if (Result<void> added = writer->addStream(*audio); !added)
            return tl::unexpected(added.error());
    }
    if (Result<void> started = writer->start(); !started)
        return tl::unexpected(started.error());
    return writer;
}

MovieWriter::~MovieWriter() = default;

Result<void> MovieWriter::addStream(const AVCodecContext& encoder)
{
    AVStream* stream = avformat_new_stream(m_format.get(), nullptr);
    if (!stream)
        return failed(AVERROR(ENOMEM));
    if (const int code = avcodec_parameters_from_context(stream->codecpar, &encoder); code < 0)
        return failed(code);
    stream->time_base = encoder.time_base;
    if (encoder.codec_type == AVMEDIA_TYPE_VIDEO) {
        stream->avg_frame_rate = encoder.framerate;
        // The other form of the tag, which many players refuse, keeps parameter sets in the stream.
        if (encoder.codec_id == AV_CODEC_ID_HEVC)
            stream->codecpar->codec_tag = MKTAG('h', 'v', 'c', '1');
    }
    m_timeBases[stream->index] = {encoder.time_base.num, encoder.time_base.den};
    return {};
}

Result<void> MovieWriter::start()
{
    Result<std::unique_ptr<PartFile>> part = PartFile::create(m_path);
    if (!part)
        return tl::unexpected(part.error());
    m_part = std::move(*part);
    const QByteArray url = "file:" + QFile::encodeName(m_part->path());
    if (const int code = avio_open(&m_format->pb, url.constData(), AVIO_FLAG_WRITE); code < 0)
        return failed(code);
    // The index is moved to the front at the end by reading the file again under its own name.
    m_format->url = av_strdup(url.constData());
    AVDictionary* options = nullptr;
    av_dict_set(&options, "movflags", "+faststart", 0);
    // Edit lists are written in ticks of the movie; at milliseconds, sound would lose samples.
    av_dict_set(&options, "movie_timescale", "48000", 0);
    const int code = avformat_write_header(m_format.get(), &options);
    av_dict_free(&options);
    return code < 0 ? failed(code) : Result<void>();
}

tl::unexpected<Error> MovieWriter::failed(int code) const
{
    return avFailure(code, QStringLiteral("Can’t write"), QFileInfo(m_path).fileName());
}

Result<void> MovieWriter::write(AVPacket& packet, int stream)
{
    const Ratio from = m_timeBases[stream];
    av_packet_rescale_ts(&packet, {int(from.num), int(from.den)}, m_format->streams[stream]->time_base);
    packet.stream_index = stream;
    const int code = av_interleaved_write_frame(m_format.get(), &packet);
    if (code < 0)
        return failed(code);
    return m_format->pb->error < 0 ? failed(m_format->pb->error) : Result<void>();
}

Result<void> MovieWriter::writeVideo(AVPacket& packet)
{
    const std::lock_guard lock(m_mutex);
    m_videoReached = fromTicks(packet.dts, m_timeBases[videoStream]);
    m_advanced.notify_all();
    // Samples last until the next one's time, so the length counts for the last picture only.
    packet.duration = m_videoEnd - packet.pts;
    return write(packet, videoStream);
}

Result<void> MovieWriter::writeAudio(AVPacket& packet)
{
    std::unique_lock lock(m_mutex);
    const MediaTime at = fromTicks(packet.dts, m_timeBases[audioStream]);
    m_advanced.wait(lock, [&] { return m_videoEnded || at < m_videoReached + maxAhead; });
    return write(packet, audioStream);
}

void MovieWriter::endVideo()
{
    const std::lock_guard lock(m_mutex);
    m_videoEnded = true;
    m_advanced.notify_all();
}

Result<void> MovieWriter::finish()
{
    const std::lock_guard lock(m_mutex);
    if (const int code = av_write_trailer(m_format.get()); code < 0)
        return failed(code);
    if (const int code = avio_closep(&m_format->pb); code < 0)
        return failed(code);
    return m_part->takeFinalName();
}

} // namespace kelmo
