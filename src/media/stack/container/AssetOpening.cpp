#include "media/stack/container/AssetOpening.h"

#include "media/stack/container/FileKind.h"
#include "media/stack/container/FrameSize.h"
#include "media/stack/container/MaskedFileIO.h"
#include "media/stack/container/OutputOrder.h"
#include "media/stack/container/PacketScan.h"
#include "media/stack/container/TrackDescription.h"

#include <QFile>
#include <QFileInfo>

namespace kelmo {

namespace {

/// No recording lasts six weeks, and everything that steps through an edit would step for ever.
constexpr MediaTime longestMovie{1000LL * 3600 * 1'000'000};
constexpr int minSampleRate = 1000;
constexpr int maxSampleRate = 768'000;

Error openError(const QString& path, const QString& reason)
{
    return {QStringLiteral("Media"), 1,
        QStringLiteral("Can’t open ") % QFileInfo(path).fileName() % QStringLiteral(": ") % reason};
}

/// Why libav did not open a file: because it is of another kind, where its first bytes tell.
Error refusal(int code, const QString& path)
{
    QFile file(path);
    const QByteArray head = file.open(QIODevice::ReadOnly) ? file.read(300) : QByteArray();
    const QString kind = kindOfFile(head);
    if (!kind.isEmpty())
        return openError(path, QStringLiteral("it is ") % kind % QStringLiteral("; ") % whatCanBeOpened());
    if (code == AVERROR_INVALIDDATA || code == AVERROR(EINVAL)) {
        return openError(path, QStringLiteral("the file is damaged, incomplete or not a movie; ") % whatCanBeOpened());
    }
    return avError(code, QStringLiteral("Can’t open"), QFileInfo(path).fileName());
}

AvHandle<AVFormatContext> newInput(AVIOContext* io, AVDictionary** options)
{
    AVFormatContext* input = avformat_alloc_context();
    if (!input)
        return nullptr;
    if (io) {
        input->pb = io;
        input->flags |= AVFMT_FLAG_CUSTOM_IO;
    }
    av_dict_set(options, "format_whitelist", "mov,mp4,m4a,3gp,3g2,mj2,matroska,webm,avi,mpegts", 0);
    av_dict_set(options, "protocol_whitelist", "file", 0);
    // Edit lists are applied by SampleIndex, which keeps sound and picture together to the tick.
    av_dict_set(options, "ignore_editlist", "1", 0);
    av_dict_set(options, "ignore_chapters", "1", 0);
    return AvHandle<AVFormatContext>(input);
}

Result<AvHandle<AVFormatContext>> opened(AvHandle<AVFormatContext> input, AVDictionary* options, const QString& path)
{
    const QByteArray url = "file:" + QFile::encodeName(path);
    AVFormatContext* raw = input.release(); // avformat_open_input frees it when it fails.
    const int code = raw ? avformat_open_input(&raw, url.constData(), nullptr, &options) : AVERROR(ENOMEM);
    av_dict_free(&options);
    if (code < 0)
        return tl::unexpected(refusal(code, path));
    return AvHandle<AVFormatContext>(raw);
}

bool isUsable(const AVStream& stream)
{
    const AVCodecParameters& parameters = *stream.codecpar;
    if (stream.disposition & AV_DISPOSITION_ATTACHED_PIC || stream.time_base.num <= 0 || stream.time_base.den <= 0)
        return false;
    if (parameters.codec_type == AVMEDIA_TYPE_VIDEO)
        return avcodec_find_decoder(parameters.codec_id) || (parameters.width > 0 && parameters.height > 0);
    return parameters.codec_type == AVMEDIA_TYPE_AUDIO && parameters.sample_rate >= minSampleRate
        && parameters.sample_rate <= maxSampleRate;
}

/// The streams that can be used; the others are not delivered.
std::set<int> chooseStreams(AVFormatContext& format)
{
    std::set<int> wanted;
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        const bool usable = isUsable(*format.streams[i]);
        format.streams[i]->discard = usable ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
        if (usable)
            wanted.insert(int(i));
    }
    return wanted;
}

} // namespace

Result<AvHandle<AVFormatContext>> openContainer(const QString& path)
{
    AVDictionary* options = nullptr;
    AvHandle<AVFormatContext> input = newInput(nullptr, &options);
    return opened(std::move(input), options, path);
}

namespace {

/// With B-frames the demuxer only gives an average to each packet, but the length of the media as a whole is exact.
void settleLastDuration(StreamSamples& listed, const AVStream& stream)
{
    // In a file that was cut off, the length also counts what is missing.
    listed.isComplete = int(listed.samples.size()) >= avformat_index_get_entries_count(&stream);
    if (listed.isComplete && stream.duration > 0 && isSane(stream.duration))
        listed.settleLastDuration(stream.duration, stream.time_base.den);
}

/// When the earliest of the wanted streams starts, on their own clock; zero when that is hardly before zero, because
/// such samples only prepare a decoder.
MediaTime earliestStart(
    const AVFormatContext& format, const std::set<int>& wanted, const std::vector<StreamSamples>& listed)
{
    constexpr MediaTime longestPreparation{100'000};
    std::optional<MediaTime> earliest;
    for (const int stream : wanted) {
        const std::optional<int64_t> first = listed[size_t(stream)].start();
        const AVRational timeBase = format.streams[stream]->time_base;
        const MediaTime start = fromTicks(first.value_or(0), {timeBase.num, timeBase.den});
        if (first)
            earliest = std::min(earliest.value_or(start), start);
    }
    const bool prepares = earliest && *earliest < MediaTime() && *earliest >= MediaTime{-longestPreparation.us};
    return prepares ? MediaTime() : earliest.value_or(MediaTime());
}

/// How many bytes a moment of a stream's sound takes when it is uncompressed, 0 when it is not; none for pictures.
std::optional<int> soundFrameSize(const AVCodecParameters& parameters)
{
    if (parameters.codec_type != AVMEDIA_TYPE_AUDIO)
        return std::nullopt;
    const bool pcm = parameters.codec_id >= AV_CODEC_ID_FIRST_AUDIO && parameters.codec_id < AV_CODEC_ID_ADPCM_IMA_QT;
    return pcm ? av_get_bits_per_sample(parameters.codec_id) / 8 * parameters.ch_layout.nb_channels : 0;
}

/// The samples of the wanted streams from the tables that libav did not get to see.
std::optional<std::vector<StreamSamples>> tabledSamples(
    const AVFormatContext& format, const std::set<int>& wanted, const MaskedFileIO& io)
{
    std::vector<StreamSamples> listed(format.nb_streams);
    for (const int stream : wanted) {
        const auto track = io.boxes().tracks.find(format.streams[stream]->id);
        if (track == io.boxes().tracks.end())
            return std::nullopt;
        std::optional<StreamSamples> samples
            = readSampleTable(track->second, io.size(), soundFrameSize(*format.streams[stream]->codecpar));
        if (!samples)
            return std::nullopt;
        listed[size_t(stream)] = *std::move(samples);
    }
    return listed;
}

/// The same by stepping through the file.
Result<std::vector<StreamSamples>> steppedSamples(
    AVFormatContext& format, const std::set<int>& wanted, MaskedFileIO& io, const QString& path)
{
    if (io.boxes().hasMovie) {
        format.flags |= AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN;
        io.skipMediaData();
    }
    std::optional<std::vector<StreamSamples>> listed = scanPackets(format, wanted, io.size());
    if (!listed)
        return tl::unexpected(openError(path, QStringLiteral("it has too many samples")));
    for (const int stream : wanted) {
        if (io.boxes().hasMovie)
            settleLastDuration(listed->at(size_t(stream)), *format.streams[stream]);
    }
    return *std::move(listed);
}

/// What the tables leave open of a video stream is read from its media data.
void settleVideo(AVStream& stream, StreamSamples& listed, MaskedFileIO& io)
{
    if (stream.codecpar->codec_type != AVMEDIA_TYPE_VIDEO)
        return;
    settleFrameSize(stream, listed.samples, io);
    settleTimes(listed, *stream.codecpar, io);
}

Result<std::vector<Track>> describedTracks(const AVFormatContext& format, const std::set<int>& wanted,
    std::vector<StreamSamples> listed, const MovBoxes& boxes, const QString& path)
{
    // Edit lists say what happens at time zero. Without any, a file starts with whatever comes first in it.
    const MediaTime zero = boxes.hasEdits() ? MediaTime() : earliestStart(format, wanted, listed);
    std::vector<Track> tracks;
    for (const int stream : wanted) {
        Track track = describedTrack(*format.streams[stream], std::move(listed[size_t(stream)]), boxes, zero);
        if (track.range.end() > longestMovie || track.range.start < MediaTime{-longestMovie.us})
            return tl::unexpected(openError(path, QStringLiteral("its times make no sense")));
        if (!track.index.isEmpty() && (track.type == MediaType::Audio || track.parameters->height > 0))
            tracks.push_back(std::move(track));
    }
    return tracks;
}

/// The tables of a file, by its own ones where that may be; none when it must be stepped through after all.
Result<std::optional<AssetTables>> readTables(const QString& path, bool byTables)
{
    MaskedFileIO io(path);
    if (!io.open())
        return tl::unexpected(openError(path, io.reason()));
    if (io.size() == 0)
        return tl::unexpected(openError(path, QStringLiteral("the file is empty")));
    if (!io.boxes().mediaData.empty() && !io.boxes().hasMovie)
        return tl::unexpected(openError(path, QStringLiteral("the recording isn’t finished, or its end is missing")));
    if (byTables && !io.boxes().isPlain)
        return std::nullopt;
    if (byTables)
        io.hideTables();

    AVDictionary* options = nullptr;
    AvHandle<AVFormatContext> fresh = newInput(io.context(), &options);
    Result<AvHandle<AVFormatContext>> input = opened(std::move(fresh), options, path);
    if (!input)
        return tl::unexpected(input.error());
    AVFormatContext& format = **input;
    AssetTables tables;
    tables.isMov = io.boxes().hasMovie;
    if (const int code = tables.isMov ? 0 : avformat_find_stream_info(&format, nullptr); code < 0)
        return avFailure(code, QStringLiteral("Can’t read"), QFileInfo(path).fileName());

    const std::set<int> wanted = chooseStreams(format);
    std::vector<StreamSamples> listed;
    if (byTables) {
        std::optional<std::vector<StreamSamples>> tabled = tabledSamples(format, wanted, io);
        if (!tabled)
            return std::nullopt;
        listed = *std::move(tabled);
    } else {
        Result<std::vector<StreamSamples>> stepped = steppedSamples(format, wanted, io, path);
        if (!stepped)
            return tl::unexpected(stepped.error());
        listed = *std::move(stepped);
    }
    for (const int stream : wanted) {
        if (tables.isMov)
            settleVideo(*format.streams[stream], listed[size_t(stream)], io);
    }
    Result<std::vector<Track>> tracks = describedTracks(format, wanted, std::move(listed), io.boxes(), path);
    if (!tracks)
        return tl::unexpected(tracks.error());
    tables.tracks = *std::move(tracks);
    return tables;
}

} // namespace

Result<AssetTables> readTables(const QString& path)
{
    quietAvLog();
    if (!QFileInfo(path).isFile())
        return tl::unexpected(openError(path, QStringLiteral("there is no such file")));
    for (const bool byTables : {true, false}) {
        Result<std::optional<AssetTables>> tables = readTables(path, byTables);
        if (!tables)
            return tl::unexpected(tables.error());
        if (*tables)
            return **std::move(tables);
    }
    return tl::unexpected(openError(path, QStringLiteral("it has too many samples")));
}

} // namespace kelmo
