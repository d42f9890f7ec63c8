#include "tools/moviemaker/MovieMaker.h"

#include "tools/moviemaker/LibavError.h"
#include "tools/moviemaker/SoundTrack.h"

#include <QFileInfo>

extern "C" {
#include <libavutil/display.h>
}

namespace kelmo {

struct MovieMaker::Parts {
    MovieSpec spec;
    AVFormatContext* muxer = nullptr;
    std::unique_ptr<PictureTrack> video;
    std::vector<std::unique_ptr<SoundTrack>> audio;

    ~Parts()
    {
        if (!muxer)
            return;
        avio_closep(&muxer->pb);
        avformat_free_context(muxer);
    }

    Result<void> open();
    Result<void> addVideoTrack();
    Result<void> addAudioTrack(const AudioSpec& audioSpec);
    Result<void> writeHeader();
    Result<AVStream*> addStream(const AVCodecContext& context);
    Result<void> write(AVPacket& packet, int stream, AVRational timeBase);
    [[nodiscard]] bool globalHeader() const { return (muxer->oformat->flags & AVFMT_GLOBALHEADER) != 0; }
};

Result<void> MovieMaker::Parts::open()
{
    // Matroska's and the rest's own log lines would end up between a test's lines.
    av_log_set_level(AV_LOG_ERROR);
    const QByteArray path = QFile::encodeName(spec.path);
    if (const int code = avformat_alloc_output_context2(&muxer, nullptr, nullptr, path.constData()); code < 0)
        return libavFailure(code, QStringLiteral("no container for ") + spec.path);
    if (spec.video) {
        if (auto added = addVideoTrack(); !added)
            return added;
    }
    for (const AudioSpec& audioSpec : spec.audio) {
        if (auto added = addAudioTrack(audioSpec); !added)
            return added;
    }
    if (const int code = avio_open(&muxer->pb, path.constData(), AVIO_FLAG_WRITE); code < 0)
        return libavFailure(code, QStringLiteral("creating ") + spec.path);
    return writeHeader();
}

Result<AVStream*> MovieMaker::Parts::addStream(const AVCodecContext& context)
{
    AVStream* stream = avformat_new_stream(muxer, nullptr);
    if (!stream)
        return libavFailure(AVERROR(ENOMEM), QStringLiteral("adding a track"));
    if (const int code = avcodec_parameters_from_context(stream->codecpar, &context); code < 0)
        return libavFailure(code, QStringLiteral("adding a track"));
    stream->time_base = context.time_base;
    return stream;
}

Result<void> MovieMaker::Parts::addVideoTrack()
{
    const AVRational timeBase = {spec.video->timeBase.numerator, spec.video->timeBase.denominator};
    const int index = static_cast<int>(muxer->nb_streams);
    auto opened = PictureTrack::open(*spec.video, globalHeader(),
        [this, index, timeBase](AVPacket& packet) { return write(packet, index, timeBase); });
    if (!opened)
        return tl::unexpected(opened.error());
    video = std::move(*opened);
    auto stream = addStream(video->context());
    if (!stream)
        return tl::unexpected(stream.error());
    (*stream)->avg_frame_rate = video->context().framerate;
    if (spec.video->rotation == 0)
        return {};
    constexpr size_t kMatrixBytes = 9 * sizeof(int32_t);
    uint8_t* matrix = av_stream_new_side_data(*stream, AV_PKT_DATA_DISPLAYMATRIX, kMatrixBytes);
    if (!matrix)
        return libavFailure(AVERROR(ENOMEM), QStringLiteral("rotating"));
    av_display_rotation_set(reinterpret_cast<int32_t*>(matrix), spec.video->rotation);
    return {};
}

Result<void> MovieMaker::Parts::addAudioTrack(const AudioSpec& audioSpec)
{
    const AVRational timeBase = {1, audioSpec.sampleRate};
    const int index = static_cast<int>(muxer->nb_streams);
    auto opened = SoundTrack::open(audioSpec, globalHeader(),
        [this, index, timeBase](AVPacket& packet) { return write(packet, index, timeBase); });
    if (!opened)
        return tl::unexpected(opened.error());
    audio.push_back(std::move(*opened));
    auto stream = addStream(audio.back()->context());
    return stream ? Result<void>() : tl::unexpected(stream.error());
}

Result<void> MovieMaker::Parts::writeHeader()
{
    LibavOptions options(spec.muxerOptions);
    const QString suffix = QFileInfo(spec.path).suffix();
    if (suffix == QLatin1String("mov") || suffix == QLatin1String("mp4")) {
        options.set("movie_timescale", QString::number(spec.movieTimescale));
        if (spec.video && spec.video->timeBase.numerator == 1)
            options.set("video_track_timescale", QString::number(spec.video->timeBase.denominator));
        if (spec.layout == MovieLayout::FastStart)
            options.set("movflags", QStringLiteral("+faststart"));
        if (spec.layout == MovieLayout::Fragmented)
            options.set("movflags", QStringLiteral("+frag_keyframe+empty_moov+delay_moov+default_base_moof"));
    }
    if (const int code = avformat_write_header(muxer, options.address()); code < 0)
        return libavFailure(code, QStringLiteral("writing the header of ") + spec.path);
    return options.leftover(QStringLiteral("the container"));
}

Result<void> MovieMaker::Parts::write(AVPacket& packet, int stream, AVRational timeBase)
{
    packet.stream_index = stream;
    av_packet_rescale_ts(&packet, timeBase, muxer->streams[stream]->time_base);
    if (const int code = av_interleaved_write_frame(muxer, &packet); code < 0)
        return libavFailure(code, QStringLiteral("writing ") + spec.path);
    return {};
}

MovieMaker::MovieMaker(std::unique_ptr<Parts> parts)
    : m_parts(std::move(parts))
{
}

MovieMaker::MovieMaker(MovieMaker&&) noexcept = default;
MovieMaker& MovieMaker::operator=(MovieMaker&&) noexcept = default;
MovieMaker::~MovieMaker() = default;

Result<MovieMaker> MovieMaker::create(const MovieSpec& spec)
{
    auto parts = std::make_unique<Parts>();
    parts->spec = spec;
    if (auto opened = parts->open(); !opened)
        return tl::unexpected(opened.error());
    return MovieMaker(std::move(parts));
}

Result<void> MovieMaker::addVideoFrame(const QImage& picture, int64_t pts) { return m_parts->video->add(picture, pts); }

Result<void> MovieMaker::addVideoFrame(const std::function<void(const PicturePlanes&)>& paint, int64_t pts)
{
    return m_parts->video->add(paint, pts);
}

Result<void> MovieMaker::repeatVideoFrame(int64_t pts) { return m_parts->video->addAgain(pts); }

Result<void> MovieMaker::addAudio(int track, const float* interleaved, int frames)
{
    return m_parts->audio.at(static_cast<size_t>(track))->add(interleaved, frames);
}

Result<void> MovieMaker::finish()
{
    if (m_parts->video) {
        if (auto finished = m_parts->video->finish(); !finished)
            return finished;
    }
    for (auto& track : m_parts->audio) {
        if (auto finished = track->finish(); !finished)
            return finished;
    }
    if (const int code = av_write_trailer(m_parts->muxer); code < 0)
        return libavFailure(code, QStringLiteral("ending ") + m_parts->spec.path);
    if (const int code = avio_closep(&m_parts->muxer->pb); code < 0)
        return libavFailure(code, QStringLiteral("closing ") + m_parts->spec.path);
    return {};
}

} // namespace kelmo
