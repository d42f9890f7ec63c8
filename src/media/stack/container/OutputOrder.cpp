#include "media/stack/container/OutputOrder.h"

#include "media/stack/container/MaskedFileIO.h"
#include "media/stack/container/PacketScan.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace kelmo {

namespace {

constexpr int maxHeldBack = 16; ///< By any decoder; more only comes from damage.

bool isCounted(AVCodecID codec) { return codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC; }

/// The simplest kind of H.264, which most recorders of screens write.
bool isBaseline(const AVCodecParameters& parameters)
{
    const bool hasRecord = parameters.extradata_size > 1 && parameters.extradata[0] == 1;
    return (hasRecord ? parameters.extradata[1] : parameters.profile & 0xff) == FF_PROFILE_H264_BASELINE;
}

/// The types of the MPEG-4 frames in a packet, as coded: 0 for I, 1 for P, 2 for B, 3 for sprites. Two frames in one
/// packet are how B-frames were put into containers that want a frame out for each packet in.
std::vector<int> mpeg4FrameTypes(const AVPacket& packet)
{
    static constexpr std::array<uint8_t, 4> startCode{0, 0, 1, 0xb6};
    std::vector<int> types;
    const uint8_t* const end = packet.data + packet.size;
    for (const uint8_t* at = packet.data;;) {
        at = std::search(at, end, startCode.begin(), startCode.end());
        if (end - at <= ptrdiff_t(startCode.size()))
            return types;
        at += startCode.size();
        types.push_back(*at >> 6);
    }
}

} // namespace

bool OutputOrder::mayDiffer(const AVCodecParameters& parameters)
{
    switch (parameters.codec_id) {
    case AV_CODEC_ID_H264:
        return !isBaseline(parameters);
    case AV_CODEC_ID_HEVC:
    case AV_CODEC_ID_MPEG4:
    case AV_CODEC_ID_MPEG1VIDEO:
    case AV_CODEC_ID_MPEG2VIDEO:
    case AV_CODEC_ID_VC1:
        return true;
    default:
        return false;
    }
}

OutputOrder::OutputOrder(const AVCodecParameters& parameters)
    : m_codec(avcodec_alloc_context3(nullptr))
    , m_parser(av_parser_init(parameters.codec_id))
{
    if (m_codec)
        avcodec_parameters_to_context(m_codec.get(), &parameters);
    if (m_parser)
        m_parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
}

OutputOrder::~OutputOrder() { av_parser_close(m_parser); }

void OutputOrder::add(const AVPacket& packet)
{
    if (m_codec && isCounted(m_codec->codec_id))
        addCounted(packet);
    else
        addOfKind(packet);
}

/// Reads the header of a frame; its type, 0 where it has none.
int OutputOrder::parse(const AVPacket& packet)
{
    if (!m_codec || !m_parser)
        return 0;
    uint8_t* frame = nullptr;
    int size = 0;
    m_parser->pict_type = 0;
    av_parser_parse2(
        m_parser, m_codec.get(), &frame, &size, packet.data, packet.size, AV_NOPTS_VALUE, AV_NOPTS_VALUE, packet.pos);
    return m_parser->pict_type;
}

/// These codecs number their frames in the order of output. The numbers start again where a run of frames does.
void OutputOrder::addCounted(const AVPacket& packet)
{
    const bool isKnown = parse(packet) != 0 && m_parser->output_picture_number >= INT32_MIN / 2;
    Frame frame;
    frame.count = isKnown ? m_parser->output_picture_number : m_highest;
    // Inside a run a key frame comes out after all frames that are decoded before it.
    frame.startsRun = m_frames.empty() || (isKnown && m_parser->key_frame == 1 && frame.count <= m_highest);
    m_highest = frame.startsRun ? frame.count : std::max(m_highest, frame.count);
    m_frames.push_back(frame);
}

void OutputOrder::addOfKind(const AVPacket& packet)
{
    Frame frame;
    if (m_codec && m_codec->codec_id == AV_CODEC_ID_MPEG4) {
        constexpr int typeB = 2;
        const std::vector<int> types = mpeg4FrameTypes(packet);
        frame.isBetween = m_holdsNext || (!types.empty() && types.front() == typeB);
        // The next packet is a placeholder, or the next such pair.
        m_holdsNext = types.size() > 1 && types.back() == typeB;
    } else {
        frame.isBetween = parse(packet) == AV_PICTURE_TYPE_B;
    }
    m_frames.push_back(frame);
}

std::vector<int> OutputOrder::frames() const
{
    std::vector<int> order = m_codec && isCounted(m_codec->codec_id) ? byCount() : byKind();
    if (std::is_sorted(order.begin(), order.end()))
        return {};
    for (size_t i = 0; i < order.size(); ++i) {
        if (std::abs(order[i] - int(i)) > maxHeldBack)
            return {};
    }
    return order;
}

std::vector<int> OutputOrder::byCount() const
{
    std::vector<int> order(m_frames.size());
    std::iota(order.begin(), order.end(), 0);
    for (auto run = order.begin(); run != order.end();) {
        const auto next
            = std::find_if(run + 1, order.end(), [&](int number) { return m_frames[size_t(number)].startsRun; });
        std::stable_sort(
            run, next, [&](int a, int b) { return m_frames[size_t(a)].count < m_frames[size_t(b)].count; });
        run = next;
    }
    return order;
}

std::vector<int> OutputOrder::byKind() const
{
    std::vector<int> order;
    order.reserve(m_frames.size());
    int held = -1;
    for (int number = 0; number < int(m_frames.size()); ++number) {
        if (m_frames[size_t(number)].isBetween) {
            order.push_back(number);
            continue;
        }
        if (held >= 0)
            order.push_back(held);
        held = number;
    }
    if (held >= 0)
        order.push_back(held);
    return order;
}

void OutputOrder::settleTimes(std::vector<Sample>& samples) const
{
    const std::vector<int> order = frames();
    if (order.size() != samples.size())
        return;
    std::vector<int64_t> times;
    times.reserve(samples.size());
    for (const Sample& sample : samples)
        times.push_back(sample.dts);
    std::sort(times.begin(), times.end());
    for (size_t i = 0; i < order.size(); ++i)
        samples[size_t(order[i])].pts = times[i];
}

bool areShownWhenDecoded(const std::vector<Sample>& samples)
{
    return std::all_of(samples.begin(), samples.end(), [](const Sample& sample) { return sample.pts == sample.dts; });
}

void settleTimes(StreamSamples& listed, const AVCodecParameters& parameters, MaskedFileIO& io)
{
    std::vector<Sample>& samples = listed.samples;
    if (!OutputOrder::mayDiffer(parameters) || samples.size() < 2 || !areShownWhenDecoded(samples))
        return;
    const AvHandle<AVPacket> packet = makeAvPacket();
    const auto look = [&](OutputOrder& order, size_t from, size_t to) {
        for (size_t i = from; i < std::min(to, samples.size()); ++i) {
            if (!io.readSample(samples[i], *packet))
                return false;
            order.add(*packet);
        }
        return true;
    };
    constexpr size_t stretches = 4;
    constexpr size_t length = 48;
    bool differs = false;
    for (size_t i = 0; i < stretches && !differs; ++i) {
        OutputOrder order(parameters);
        const size_t from = samples.size() * i / stretches;
        differs = look(order, from, from + length) && !order.frames().empty();
    }
    OutputOrder order(parameters);
    if (differs && look(order, 0, samples.size()))
        order.settleTimes(samples);
}

} // namespace kelmo
