#include "media/stack/decode/AudioTrackReader.h"

#include "media/stack/container/PacketReader.h"
#include "media/stack/core/AvHandles.h"

#include <numeric>
#include <ranges>

namespace kelmo {

namespace {

constexpr int inputChunk = 2048;
/// Packets decoded before the wanted one, whose sound is thrown away: a lossy decoder's output depends on the packet
/// before. Spectral band replication reaches further back.
constexpr int prerollPackets = 3;

AVChannelLayout layoutOf(int channels)
{
    AVChannelLayout layout;
    av_channel_layout_default(&layout, channels);
    return layout;
}

void freeResampler(SwrContext* context) { AvFree()(context); }

} // namespace

AudioTrackReader::AudioTrackReader(std::shared_ptr<const Asset> asset, const Track& track)
    : m_asset(std::move(asset))
    , m_track(track)
    , m_codec(nullptr, [](AVCodecContext* context) { AvFree()(context); })
    , m_folder(nullptr, freeResampler)
    , m_resampler(nullptr, freeResampler)
    , m_inputRate(track.sampleRate)
    , m_channels(track.channels == 1 ? 1 : 2)
{
}

AudioTrackReader::~AudioTrackReader() = default;

Result<std::unique_ptr<AudioTrackReader>> AudioTrackReader::open(
    const std::shared_ptr<const Asset>& asset, const Track& track)
{
    const AVCodec* codec = avcodec_find_decoder(track.parameters->codec_id);
    if (!codec)
        return avFailure(AVERROR_DECODER_NOT_FOUND, QStringLiteral("Can’t play the sound of"), asset->name());
    Result<std::unique_ptr<PacketReader>> packets = PacketReader::create(asset, track);
    if (!packets)
        return tl::unexpected(packets.error());

    std::unique_ptr<AudioTrackReader> reader(new AudioTrackReader(asset, track));
    reader->m_reader = std::move(*packets);
    reader->m_codec.reset(avcodec_alloc_context3(codec));
    AVCodecContext* context = reader->m_codec.get();
    if (!context || avcodec_parameters_to_context(context, track.parameters.get()) < 0)
        return avFailure(AVERROR(ENOMEM), QStringLiteral("Can’t play the sound of"), asset->name());
    context->pkt_timebase = {1, track.sampleRate};
    // Positions come from the container alone; a decoder that trims on its own would shift them.
    context->flags2 |= AV_CODEC_FLAG2_SKIP_MANUAL;
    if (const int code = avcodec_open2(context, codec, nullptr); code < 0)
        return avFailure(code, QStringLiteral("Can’t play the sound of"), asset->name());

    if (track.sampleRate != rate) {
        AVChannelLayout layout = layoutOf(reader->m_channels);
        SwrContext* resampler = nullptr;
        const int code = swr_alloc_set_opts2(
            &resampler, &layout, AV_SAMPLE_FMT_FLT, rate, &layout, AV_SAMPLE_FMT_FLT, track.sampleRate, 0, nullptr);
        reader->m_resampler.reset(resampler);
        if (code < 0)
            return avFailure(code, QStringLiteral("Can’t resample the sound of"), asset->name());
    }
    return reader;
}

int64_t AudioTrackReader::inputPosition(int64_t ticks) const
{
    const Ratio timeBase = m_track.index.timeBase();
    return scaled(ticks, timeBase.num * m_inputRate, timeBase.den);
}

int64_t AudioTrackReader::packetPosition(int number) const
{
    return m_track.soundPositions.empty() ? inputPosition(m_track.index.samples()[size_t(number)].pts)
                                          : m_track.soundPositions[size_t(number)];
}

int64_t AudioTrackReader::decodedEnd() const { return m_decodedStart + int64_t(m_decoded.size()) / m_channels; }

void AudioTrackReader::seekInput(int64_t from)
{
    const auto packets = std::views::iota(0, int(m_track.index.samples().size()));
    const auto next
        = std::ranges::upper_bound(packets, from, {}, [this](int packet) { return packetPosition(packet); });
    const int holding = std::max(0, int(next - packets.begin()) - 1);
    avcodec_flush_buffers(m_codec.get());
    m_nextPacket = std::max(0, holding - prerollPackets);
    m_dropBefore = packetPosition(holding);
    m_decoded.clear();
    m_decodedStart = m_answersFrom = from;
    m_ended = false;
}

Result<void> AudioTrackReader::decodeNext()
{
    const AvHandle<AVFrame> frame = makeAvFrame();
    for (;;) {
        const int code = avcodec_receive_frame(m_codec.get(), frame.get());
        if (code >= 0) {
            append(*frame);
            return {};
        }
        if (code == AVERROR_EOF) {
            m_ended = true;
            return {};
        }
        if (m_nextPacket >= int(m_track.index.samples().size())) {
            avcodec_send_packet(m_codec.get(), nullptr);
            continue;
        }
        const AvHandle<AVPacket> packet = makeAvPacket();
        if (Result<void> read = m_reader->read(m_nextPacket, *packet); !read)
            return read;
        packet->pts = packet->dts = packetPosition(m_nextPacket++);
        // A packet that does not decode leaves a hole, which is silence.
        avcodec_send_packet(m_codec.get(), packet.get());
    }
}

void AudioTrackReader::append(const AVFrame& frame)
{
    AVChannelLayout to = layoutOf(m_channels);
    // A stream may change its layout on the way, and a damaged one its form.
    const FrameForm form{frame.format, frame.sample_rate, frame.ch_layout.nb_channels};
    if (!m_folder || form != m_form) {
        m_form = form;
        SwrContext* folder = nullptr;
        AVChannelLayout from = frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC ? layoutOf(frame.ch_layout.nb_channels)
                                                                                : frame.ch_layout;
        swr_alloc_set_opts2(&folder, &to, AV_SAMPLE_FMT_FLT, m_inputRate, &from, AVSampleFormat(frame.format),
            frame.sample_rate, 0, nullptr);
        m_folder.reset(folder && swr_init(folder) >= 0 ? folder : nullptr);
        if (!m_folder) {
            swr_free(&folder);
            return;
        }
    }
    const int64_t position = frame.pts;
    if (position + frame.nb_samples <= m_dropBefore)
        return;

    std::vector<float> sound(size_t(frame.nb_samples) * size_t(m_channels));
    auto* out = reinterpret_cast<uint8_t*>(sound.data());
    const int got = swr_convert(
        m_folder.get(), &out, frame.nb_samples, const_cast<const uint8_t**>(frame.extended_data), frame.nb_samples);
    sound.resize(size_t(std::max(0, got)) * size_t(m_channels));

    if (m_decoded.empty())
        m_decodedStart = position;
    int64_t gap = position - decodedEnd();
    // Container times jitter by their rounding; only more than that is a real hole or an overlap.
    if (std::abs(gap) <= m_inputRate / 1000)
        gap = 0;
    if (gap > 10 * int64_t(m_inputRate)) {
        m_answersFrom = decodedEnd();
        m_decoded.clear();
        m_decodedStart = position;
    } else if (gap > 0) {
        m_decoded.insert(m_decoded.end(), size_t(gap) * size_t(m_channels), 0.0f);
    } else if (gap < 0) {
        sound.erase(sound.begin(), sound.begin() + std::min<int64_t>(-gap * m_channels, int64_t(sound.size())));
    }
    m_decoded.insert(m_decoded.end(), sound.begin(), sound.end());
}

Result<void> AudioTrackReader::pullInput(int64_t from, int count)
{
    m_input.assign(size_t(count) * size_t(m_channels), 0.0f);
    const int64_t to = from + count;
    if (m_nextPacket < 0 || from < m_answersFrom || from > decodedEnd() + m_inputRate)
        seekInput(std::max<int64_t>(from, packetPosition(0)));
    // What the segment does not present must not be heard through the resampler's filter either.
    const int64_t audible = inputPosition(m_track.index.edits()[m_segment].mediaStart);
    for (;;) {
        // Taken before more is decoded: a long hole makes room for what lies behind it.
        const int64_t first = std::max({from, m_decodedStart, audible});
        const int64_t last = std::min(to, decodedEnd());
        if (first < last) {
            const auto source = m_decoded.begin() + (first - m_decodedStart) * m_channels;
            std::copy(source, source + (last - first) * m_channels, m_input.begin() + (first - from) * m_channels);
        }
        if (m_ended || decodedEnd() >= to)
            break;
        if (Result<void> decoded = decodeNext(); !decoded)
            return decoded;
    }
    if (from - m_decodedStart > m_inputRate) {
        const int64_t old = std::min(from, decodedEnd()) - m_decodedStart;
        m_decoded.erase(m_decoded.begin(), m_decoded.begin() + old * m_channels);
        m_decodedStart += old;
        m_answersFrom = m_decodedStart;
    }
    return {};
}

Result<void> AudioTrackReader::startRun(size_t segment, int64_t from)
{
    m_running = true;
    m_segment = segment;
    m_out.clear();
    m_outStart = from;
    m_discard = 0;
    const int64_t start = inputPosition(m_track.index.edits()[segment].mediaStart);
    if (!m_resampler) {
        m_nextInput = start + from;
        return {};
    }
    // A resampler started anywhere else would be at another phase: whole periods of both rates, counted from the
    // segment's start, give the same samples as one run through everything. Its first samples lack a past.
    const int64_t common = std::gcd(m_inputRate, rate);
    const int64_t inputPeriod = m_inputRate / common;
    const int64_t outputPeriod = rate / common;
    const int64_t early = std::max((64 + inputPeriod - 1) / inputPeriod, (160 + outputPeriod - 1) / outputPeriod);
    const int64_t period = from / outputPeriod - early;
    m_nextInput = start + period * inputPeriod;
    m_discard = from - period * outputPeriod;
    if (const int code = swr_init(m_resampler.get()); code < 0)
        return avFailure(code, QStringLiteral("Can’t resample the sound of"), m_asset->name());
    return {};
}

Result<void> AudioTrackReader::resampleMore()
{
    if (Result<void> pulled = pullInput(m_nextInput, inputChunk); !pulled)
        return pulled;
    m_nextInput += inputChunk;
    if (!m_resampler) {
        m_out.insert(m_out.end(), m_input.begin(), m_input.end());
        return {};
    }
    const auto room = int(int64_t(inputChunk) * rate / m_inputRate + 256);
    std::vector<float> resampled(size_t(room) * size_t(m_channels));
    auto* out = reinterpret_cast<uint8_t*>(resampled.data());
    const auto* in = reinterpret_cast<const uint8_t*>(m_input.data());
    const int got = swr_convert(m_resampler.get(), &out, room, &in, inputChunk);
    if (got < 0)
        return avFailure(got, QStringLiteral("Can’t resample the sound of"), m_asset->name());
    const int64_t skipped = std::min<int64_t>(m_discard, got);
    m_discard -= skipped;
    m_out.insert(m_out.end(), resampled.begin() + skipped * m_channels, resampled.begin() + int64_t(got) * m_channels);
    return {};
}

Result<void> AudioTrackReader::readSegment(size_t segment, int64_t from, int count, float* interleaved)
{
    if (!m_running || m_segment != segment || from < m_outStart || from > outEnd() + rate / 4) {
        if (Result<void> started = startRun(segment, from); !started)
            return started;
    }
    while (outEnd() < from + count) {
        if (Result<void> more = resampleMore(); !more)
            return more;
    }
    const float* source = m_out.data() + (from - m_outStart) * m_channels;
    for (int i = 0; i < count; ++i) {
        interleaved[2 * i] = source[m_channels * i];
        interleaved[2 * i + 1] = source[m_channels * i + m_channels - 1];
    }
    m_out.erase(m_out.begin(), m_out.begin() + (from + count - m_outStart) * m_channels);
    m_outStart = from + count;
    return {};
}

Result<void> AudioTrackReader::read(int64_t position, int count, float* interleaved)
{
    std::fill_n(interleaved, size_t(count) * channels, 0.0f);
    const Ratio timeBase = m_track.index.timeBase();
    const std::vector<EditSegment>& edits = m_track.index.edits();
    for (size_t i = 0; i < edits.size(); ++i) {
        const int64_t start = scaled(edits[i].presentStart, timeBase.num * rate, timeBase.den);
        const int64_t end = scaled(edits[i].presentStart + edits[i].duration, timeBase.num * rate, timeBase.den);
        const int64_t from = std::max(position, start);
        const int64_t to = std::min(position + count, end);
        if (from >= to)
            continue;
        Result<void> filled = readSegment(i, from - start, int(to - from), interleaved + (from - position) * channels);
        if (!filled)
            return filled;
    }
    return {};
}

} // namespace kelmo
