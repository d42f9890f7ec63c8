#include "media/stack/AssetOpening.h"

#include "media/stack/SampleListing.h"

extern "C" {
#include <libavutil/display.h>
#include <libavutil/opt.h>
}

#include <QFile>
#include <QFileInfo>

#include <cmath>

namespace kelmo {

namespace {

constexpr int ioBufferSize = 64 << 10;
/// Nobody records for six weeks, and everything that steps through an edit would step for ever.
constexpr MediaTime longestMovie{1000LL * 3600 * 1'000'000};
constexpr int leastSampleRate = 1000;
constexpr int mostSampleRate = 768'000;

/// A file as libav reads it while the tables are built. With `hideTables` it finds no sample tables in it, which are
/// read by us in a fraction of the time. With `skipMediaData` bytes inside `mdat` bodies are not read from disk: the
/// demuxer needs to step over them, and nobody looks at what they hold.
class TableIO {
public:
    explicit TableIO(const QString& path)
        : m_file(path)
    {
    }

    ~TableIO()
    {
        if (m_context)
            av_freep(&m_context->buffer);
        avio_context_free(&m_context);
    }

    TableIO(const TableIO&) = delete;
    TableIO& operator=(const TableIO&) = delete;

    bool open()
    {
        if (!m_file.open(QIODevice::ReadOnly))
            return false;
        m_boxes = MovBoxes::read(m_file);
        auto* buffer = static_cast<uint8_t*>(av_malloc(ioBufferSize));
        m_context = avio_alloc_context(buffer, ioBufferSize, 0, this, &TableIO::read, nullptr, &TableIO::seek);
        return m_context != nullptr;
    }

    void hideTables() { m_hide = true; }

    void skipMediaData()
    {
        m_skip = true;
        m_context->direct = 1;
    }

    [[nodiscard]] AVIOContext* context() const { return m_context; }
    [[nodiscard]] const MovBoxes& boxes() const { return m_boxes; }
    [[nodiscard]] int64_t size() const { return m_file.size(); }
    [[nodiscard]] QString reason() const { return m_file.errorString(); }

private:
    static int read(void* opaque, uint8_t* buffer, int size)
    {
        auto* io = static_cast<TableIO*>(opaque);
        if (io->m_skip && io->m_boxes.isMediaData(io->m_position, io->m_position + size)) {
            io->m_position += size;
            return size;
        }
        if (!io->m_file.seek(io->m_position))
            return AVERROR(EIO);
        const qint64 got = io->m_file.read(reinterpret_cast<char*>(buffer), size);
        if (got < 0)
            return AVERROR(EIO);
        if (io->m_hide)
            io->hideTablesIn(buffer, got);
        io->m_position += got;
        return got == 0 ? AVERROR_EOF : int(got);
    }

    static int64_t seek(void* opaque, int64_t offset, int whence)
    {
        auto* io = static_cast<TableIO*>(opaque);
        if (whence == AVSEEK_SIZE)
            return io->m_file.size();
        if (whence == SEEK_CUR)
            offset += io->m_position;
        else if (whence == SEEK_END)
            offset += io->m_file.size();
        if (offset < 0)
            return AVERROR(EINVAL);
        io->m_position = offset;
        return offset;
    }

    /// Makes free space of the tables whose types lie in the `count` bytes from the current position on.
    void hideTablesIn(uint8_t* buffer, int64_t count) const
    {
        static constexpr char freeSpace[] = "free";
        const std::vector<int64_t>& types = m_boxes.tableTypes;
        auto type = std::upper_bound(types.begin(), types.end(), m_position - 4);
        for (; type != types.end() && *type < m_position + count; ++type) {
            for (int64_t i = std::max<int64_t>(0, m_position - *type); i < 4 && *type + i < m_position + count; ++i)
                buffer[*type + i - m_position] = uint8_t(freeSpace[i]);
        }
    }

    QFile m_file;
    MovBoxes m_boxes;
    AVIOContext* m_context = nullptr;
    int64_t m_position = 0;
    bool m_hide = false;
    bool m_skip = false;
};

Error openError(const QString& path, const QString& reason)
{
    return {QStringLiteral("Media"), 1,
        QStringLiteral("Can’t open ") % QFileInfo(path).fileName() % QStringLiteral(": ") % reason};
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
        return avFailure(code, QStringLiteral("Can’t open"), QFileInfo(path).fileName());
    return AvHandle<AVFormatContext>(raw);
}

int quarterTurnsOf(const AVStream& stream)
{
#if LIBAVFORMAT_VERSION_MAJOR >= 61
    const AVPacketSideData* data = av_packet_side_data_get(
        stream.codecpar->coded_side_data, stream.codecpar->nb_coded_side_data, AV_PKT_DATA_DISPLAYMATRIX);
    const uint8_t* matrix = data ? data->data : nullptr;
#else
    const uint8_t* matrix = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr);
#endif
    if (!matrix)
        return 0;
    const double counterClockwise = av_display_rotation_get(reinterpret_cast<const int32_t*>(matrix));
    if (std::isnan(counterClockwise))
        return 0;
    return ((int(std::lround(-counterClockwise / 90.0)) % 4) + 4) % 4;
}

void describeVideo(const AVStream& stream, Track& track)
{
    const AVCodecParameters& parameters = *stream.codecpar;
    AVRational aspect
        = stream.sample_aspect_ratio.num > 0 ? stream.sample_aspect_ratio : parameters.sample_aspect_ratio;
    if (aspect.num <= 0 || aspect.den <= 0 || aspect.num > 100 * int64_t(aspect.den)
        || aspect.den > 100 * int64_t(aspect.num))
        aspect = {1, 1};
    track.naturalWidth = std::max(1, int(scaled(parameters.width, aspect.num, aspect.den)));
    track.naturalHeight = parameters.height;
    track.quarterTurns = quarterTurnsOf(stream);
    track.color = {parameters.color_primaries, parameters.color_trc, parameters.color_space,
        parameters.color_range == AVCOL_RANGE_JPEG};
    const double seconds = double(track.range.duration.us) / 1e6;
    track.nominalFps = seconds > 0 ? double(track.index.displays().size()) / seconds : 0;
}

/// The edit list as ticks of the track. A list that only says "from the start, everything" becomes one segment, too.
std::vector<EditSegment> editSegments(const MovBoxes& boxes, int trackId, Ratio timeBase)
{
    const auto found = boxes.tracks.find(trackId);
    if (found == boxes.tracks.end() || boxes.movieTimescale <= 0)
        return {};
    std::vector<EditSegment> segments;
    int64_t movieTime = 0;
    for (const MovBoxes::Edit& edit : found->second.edits) {
        if (edit.duration < 0 || edit.duration > INT64_MAX / 4 - movieTime)
            break;
        const int64_t start = scaled(movieTime, timeBase.den, boxes.movieTimescale * timeBase.num);
        movieTime += edit.duration;
        const int64_t end = scaled(movieTime, timeBase.den, boxes.movieTimescale * timeBase.num);
        if (edit.mediaTime >= 0 && edit.mediaTime <= mostTicks)
            segments.push_back({edit.mediaTime, start, edit.duration > 0 ? end - start : mostTicks});
    }
    return segments;
}

bool isUsable(const AVStream& stream)
{
    const AVCodecParameters& parameters = *stream.codecpar;
    if (stream.disposition & AV_DISPOSITION_ATTACHED_PIC || stream.time_base.num <= 0 || stream.time_base.den <= 0)
        return false;
    if (parameters.codec_type == AVMEDIA_TYPE_VIDEO)
        return parameters.width > 0 && parameters.height > 0;
    return parameters.codec_type == AVMEDIA_TYPE_AUDIO && parameters.sample_rate >= leastSampleRate
        && parameters.sample_rate <= mostSampleRate;
}

Track describedTrack(const AVStream& stream, StreamSamples listed, const MovBoxes& boxes, bool isMov)
{
    Track track;
    track.stream = stream.index;
    track.type = stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO ? MediaType::Video : MediaType::Audio;
    const Ratio timeBase{stream.time_base.num, stream.time_base.den};
    track.index = SampleIndex(std::move(listed.samples),
        isMov ? editSegments(boxes, stream.id, timeBase) : std::vector<EditSegment>(), timeBase, listed.lastDuration);
    track.range = track.index.range();
    AvHandle<AVCodecParameters> parameters(avcodec_parameters_alloc());
    avcodec_parameters_copy(parameters.get(), stream.codecpar);
    track.parameters = std::shared_ptr<const AVCodecParameters>(
        parameters.release(), [](const AVCodecParameters* owned) { AvFree()(const_cast<AVCodecParameters*>(owned)); });
    track.sampleRate = stream.codecpar->sample_rate;
    track.channels = stream.codecpar->ch_layout.nb_channels;
    if (track.type == MediaType::Video)
        describeVideo(stream, track);
    return track;
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
    const bool complete = int(listed.samples.size()) >= avformat_index_get_entries_count(&stream);
    if (complete && stream.duration > 0 && isSane(stream.duration))
        listed.settleLastDuration(stream.duration, stream.time_base.den);
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
    const AVFormatContext& format, const std::set<int>& wanted, const TableIO& io)
{
    std::vector<StreamSamples> listed(format.nb_streams);
    for (const int stream : wanted) {
        const auto track = io.boxes().tracks.find(format.streams[stream]->id);
        if (track == io.boxes().tracks.end())
            return std::nullopt;
        std::optional<StreamSamples> samples
            = listSamples(track->second, io.size(), soundFrameSize(*format.streams[stream]->codecpar));
        if (!samples)
            return std::nullopt;
        listed[size_t(stream)] = *std::move(samples);
    }
    return listed;
}

/// The same by stepping through the file.
Result<std::vector<StreamSamples>> steppedSamples(
    AVFormatContext& format, const std::set<int>& wanted, TableIO& io, const QString& path)
{
    if (io.boxes().hasMovie) {
        format.flags |= AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN;
        io.skipMediaData();
    }
    std::optional<std::vector<StreamSamples>> listed = listSamples(format, wanted, io.size());
    if (!listed)
        return tl::unexpected(openError(path, QStringLiteral("it has too many samples")));
    for (const int stream : wanted) {
        if (io.boxes().hasMovie)
            settleLastDuration(listed->at(size_t(stream)), *format.streams[stream]);
    }
    return *std::move(listed);
}

/// The tables of a file, by its own ones where that may be; none when it must be stepped through after all.
Result<std::optional<AssetTables>> readTables(const QString& path, bool byTables)
{
    TableIO io(path);
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
        Track track
            = describedTrack(*format.streams[stream], std::move(listed[size_t(stream)]), io.boxes(), tables.isMov);
        if (track.range.end() > longestMovie || track.range.start < MediaTime{-longestMovie.us})
            return tl::unexpected(openError(path, QStringLiteral("its times make no sense")));
        if (!track.index.isEmpty())
            tables.tracks.push_back(std::move(track));
    }
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
