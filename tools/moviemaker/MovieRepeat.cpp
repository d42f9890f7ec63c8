#include "tools/moviemaker/MovieRepeat.h"

#include "tools/moviemaker/LibavError.h"
#include "tools/moviemaker/LibavHandles.h"

#include <QFile>

#include <cmath>
#include <cstring>

namespace kelmo {

namespace {

struct CloseInput {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};

struct CloseOutput {
    void operator()(AVFormatContext* context) const
    {
        avio_closep(&context->pb);
        avformat_free_context(context);
    }
};

using Input = std::unique_ptr<AVFormatContext, CloseInput>;
using Output = std::unique_ptr<AVFormatContext, CloseOutput>;
using Packets = std::vector<LibavHandle<AVPacket>>;

Result<Input> openInput(const QString& path)
{
    AVFormatContext* context = nullptr;
    int code = avformat_open_input(&context, QFile::encodeName(path).constData(), nullptr, nullptr);
    Input input(context);
    if (code >= 0)
        code = avformat_find_stream_info(context, nullptr);
    if (code < 0)
        return libavFailure(code, QStringLiteral("opening ") + path);
    return input;
}

Result<void> copyStream(AVFormatContext& output, const AVStream& from)
{
    AVStream* to = avformat_new_stream(&output, nullptr);
    if (!to || avcodec_parameters_copy(to->codecpar, from.codecpar) < 0)
        return libavFailure(AVERROR(ENOMEM), QStringLiteral("adding a track"));
    to->time_base = from.time_base;
    to->avg_frame_rate = from.avg_frame_rate;
    for (int index = 0; index < from.nb_side_data; ++index) {
        const AVPacketSideData& data = from.side_data[index];
        if (uint8_t* bytes = av_stream_new_side_data(to, data.type, data.size))
            std::memcpy(bytes, data.data, data.size);
    }
    return {};
}

Result<Output> openOutput(const QString& path, const AVFormatContext& input)
{
    const QByteArray name = QFile::encodeName(path);
    AVFormatContext* context = nullptr;
    if (const int code = avformat_alloc_output_context2(&context, nullptr, nullptr, name.constData()); code < 0)
        return libavFailure(code, QStringLiteral("no container for ") + path);
    Output output(context);
    LibavOptions options;
    options.set("movie_timescale", QStringLiteral("48000"));
    for (unsigned index = 0; index < input.nb_streams; ++index) {
        if (auto copied = copyStream(*context, *input.streams[index]); !copied)
            return tl::unexpected(copied.error());
        if (input.streams[index]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO)
            options.set("video_track_timescale", QString::number(input.streams[index]->time_base.den));
    }
    int code = avio_open(&context->pb, name.constData(), AVIO_FLAG_WRITE);
    if (code >= 0)
        code = avformat_write_header(context, options.address());
    if (code < 0)
        return libavFailure(code, QStringLiteral("creating ") + path);
    return output;
}

Packets readAll(AVFormatContext& input)
{
    Packets packets;
    for (;;) {
        LibavHandle<AVPacket> packet(av_packet_alloc());
        if (av_read_frame(&input, packet.get()) < 0)
            return packets;
        packets.push_back(std::move(packet));
    }
}

int64_t ticks(double ms, AVRational timeBase) { return std::llround(ms / 1000 / av_q2d(timeBase)); }

/// Writes one round that starts at `startMs`.
Result<void> writeRound(
    const Packets& packets, const Input& input, const Output& output, double startMs, double loopMs, double lengthMs)
{
    for (const auto& packet : packets) {
        const AVRational timeBase = input->streams[packet->stream_index]->time_base;
        const int64_t loop = ticks(loopMs, timeBase);
        const int64_t shift = ticks(startMs, timeBase);
        const int64_t end = ticks(lengthMs, timeBase);
        // Only the first round needs the sound's priming, and the encoder's last filling up is over time.
        const bool priming = packet->pts < 0 && startMs > 0;
        if (priming || packet->pts >= loop || packet->pts + shift >= end)
            continue;
        LibavHandle<AVPacket> copy(av_packet_clone(packet.get()));
        copy->pos = -1;
        copy->pts += shift;
        copy->dts += shift;
        copy->duration = std::min({copy->duration, loop + shift - copy->pts, end - copy->pts});
        av_packet_rescale_ts(copy.get(), timeBase, output->streams[copy->stream_index]->time_base);
        if (const int code = av_interleaved_write_frame(output.get(), copy.get()); code < 0)
            return libavFailure(code, QStringLiteral("writing a packet"));
    }
    return {};
}

/// The demuxer only guesses how long the last picture lasts; it lasts until the round is over.
void stretchLastPicture(const Packets& packets, const AVFormatContext& input, double loopMs)
{
    AVPacket* last = nullptr;
    for (const auto& packet : packets) {
        const bool video = input.streams[packet->stream_index]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
        if (video && (!last || packet->pts > last->pts))
            last = packet.get();
    }
    if (last)
        last->duration = ticks(loopMs, input.streams[last->stream_index]->time_base) - last->pts;
}

} // namespace

Result<void> repeatMovie(const QString& source, const QString& target, double loopMs, double lengthMs)
{
    const auto input = openInput(source);
    if (!input)
        return tl::unexpected(input.error());
    const auto output = openOutput(target, **input);
    if (!output)
        return tl::unexpected(output.error());
    const Packets packets = readAll(**input);
    stretchLastPicture(packets, **input, loopMs);
    for (int round = 0; round * loopMs < lengthMs; ++round) {
        if (auto written = writeRound(packets, *input, *output, round * loopMs, loopMs, lengthMs); !written)
            return written;
    }
    if (const int code = av_write_trailer(output->get()); code < 0)
        return libavFailure(code, QStringLiteral("ending ") + target);
    return {};
}

} // namespace kelmo
