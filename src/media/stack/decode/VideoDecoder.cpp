#include "media/stack/decode/VideoDecoder.h"

#include "media/stack/container/PacketReader.h"
#include "media/stack/core/AvHandles.h"
#include "media/stack/decode/X264Version.h"
#include "telemetry/Log.h"

namespace kelmo {

namespace {

constexpr int maxErrorsInARow = 100;
constexpr int maxDeviceErrors = 2; ///< Software may do better.
constexpr int64_t noPts = std::numeric_limits<int64_t>::min();

} // namespace

VideoDecoder::VideoDecoder(std::shared_ptr<const Asset> asset, const Track& track, int threads)
    : m_asset(std::move(asset))
    , m_track(track)
    , m_threads(threads)
    , m_codec(nullptr, [](AVCodecContext* context) { AvFree()(context); })
{
}

VideoDecoder::~VideoDecoder() = default;

Result<std::unique_ptr<VideoDecoder>> VideoDecoder::open(
    std::shared_ptr<const Asset> asset, const Track& track, int threads, std::shared_ptr<const HardwareDevice> device)
{
    Result<std::unique_ptr<PacketReader>> reader = PacketReader::create(asset, track);
    if (!reader)
        return tl::unexpected(reader.error());
    std::unique_ptr<VideoDecoder> decoder(new VideoDecoder(std::move(asset), track, threads));
    decoder->m_reader = std::move(*reader);
    decoder->m_device = std::move(device);
    if (Result<void> opened = decoder->openCodec(); !opened)
        return tl::unexpected(opened.error());
    return decoder;
}

Result<void> VideoDecoder::openCodec()
{
    const QString operation = QStringLiteral("Can’t play");
    const AVCodec* codec = avcodec_find_decoder(m_track.parameters->codec_id);
    if (!codec)
        return avFailure(AVERROR_DECODER_NOT_FOUND, operation, m_asset->name());
    m_codec.reset(avcodec_alloc_context3(codec));
    AVCodecContext* context = m_codec.get();
    if (!context || avcodec_parameters_to_context(context, m_track.parameters.get()) < 0)
        return avFailure(AVERROR(ENOMEM), operation, m_asset->name());
    context->pkt_timebase = {int(m_track.index.timeBase().num), int(m_track.index.timeBase().den)};
    context->thread_count = m_device ? 1 : m_threads;
    context->thread_type = FF_THREAD_FRAME | FF_THREAD_SLICE;
    // Streams that do not say how far they reorder would drop pictures until the decoder has found out.
    context->has_b_frames = std::max(context->has_b_frames, m_track.index.reorderDepth());
    if (m_device && m_device->context())
        context->hw_device_ctx = av_buffer_ref(m_device->context());
    tellX264Version(*context, *m_reader);
    if (const int code = avcodec_open2(context, codec, nullptr); code < 0)
        return avFailure(code, operation, m_asset->name());
    return {};
}

/// The device cannot go on: software does, from the key picture before.
Result<void> VideoDecoder::fallBack(int display)
{
    Log::line(u"video",
        m_device->name() % QStringLiteral(" cannot decode ") % m_asset->name()
            % QStringLiteral("; going on in software"));
    m_device.reset();
    m_hasFallenBack = true;
    m_next = -1;
    if (Result<void> opened = openCodec(); !opened)
        return opened;
    restartAt(m_track.index.frames()[size_t(display)].key);
    return {};
}

void VideoDecoder::expect(std::span<const int> frames)
{
    const bool hadPlan = !m_expected.empty();
    m_expected.clear();
    for (const int display : frames)
        m_expected.push_back(m_track.index.frames()[size_t(display)].sample);
    std::sort(m_expected.begin(), m_expected.end());
    // What was fed under another plan may have been skipped, so it cannot be waited for.
    if (m_expected.empty() ? hadPlan : m_expected.front() < m_next)
        m_mustRestart = true;
}

void VideoDecoder::setWanted(std::shared_ptr<const std::vector<bool>> samples, bool referencesOnly)
{
    m_wanted = std::move(samples);
    m_referencesOnly = referencesOnly;
}

void VideoDecoder::noteSkipped(int sample)
{
    constexpr size_t most = 4096; // More than any decoder holds back.
    if (m_skipped.size() == most)
        m_skipped.erase(m_skipped.begin(), m_skipped.begin() + most / 2);
    m_skipped.push_back(sample);
}

bool VideoDecoder::wasSkipped(int display) const
{
    return std::binary_search(m_skipped.begin(), m_skipped.end(), m_track.index.frames()[size_t(display)].sample);
}

bool VideoDecoder::isAhead(int display) const
{
    if (!m_referencesOnly && wasSkipped(display))
        return false;
    return m_next >= 0 && !m_mustRestart && m_track.index.frames()[size_t(display)].key >= m_start
        && m_track.index.sampleOf(display).pts > m_shownPts
        && (!m_draining || m_track.index.frames()[size_t(display)].sample < m_next);
}

int VideoDecoder::costOf(int display) const
{
    const SampleIndex::PresentedFrame& entry = m_track.index.frames()[size_t(display)];
    const int fromKey = entry.sample - entry.key + 1;
    if (m_track.index.sampleOf(display).pts == m_shownPts)
        return 0;
    return isAhead(display) ? std::min(fromKey, std::max(0, entry.sample - m_next + 1)) : fromKey;
}

Result<VideoFrame> VideoDecoder::frame(int display, const Stop& stop)
{
    const SampleIndex::PresentedFrame& entry = m_track.index.frames()[size_t(display)];
    const int64_t target = m_track.index.samples()[size_t(entry.sample)].pts;
    if (m_shown && m_shownPts == target)
        return m_shown;
    if (m_ahead && m_aheadPts == target) {
        take(std::exchange(m_ahead, {}), target);
        return m_shown;
    }
    if (!isAhead(display) || entry.key > m_next)
        restartAt(entry.key);
    const Result<VideoFrame> decoded = decodeUpTo(display, stop);
    const bool isMissing = decoded && m_shownPts != target;
    return isMissing && (!*decoded || m_draining) ? nearestTo(display, stop) : decoded;
}

int VideoDecoder::keyBefore(int sample) const
{
    int key = std::max(sample - 1, 0);
    while (key > 0 && !m_track.index.samples()[size_t(key)].key)
        --key;
    return key;
}

/// Nothing came out from the key picture on, or the decoder was drained before the picture came out: an H.264 decoder
/// that is drained right after a recovery point drops what follows that. So decodes again without a plan, then from the
/// key pictures before, or else takes the next picture there is.
Result<VideoFrame> VideoDecoder::nearestTo(int display, const Stop& stop)
{
    const bool wasCutShort = m_draining && m_next < int(m_track.index.samples().size());
    if (m_start == 0 && !wasCutShort && (m_shown || m_ahead))
        return m_shown ? m_shown : m_ahead;
    std::vector<int32_t> announced = std::exchange(m_expected, {});
    Result<VideoFrame> decoded = VideoFrame();
    int start = wasCutShort ? m_start : keyBefore(m_start);
    do {
        restartAt(start);
        decoded = decodeUpTo(display, stop);
        start = keyBefore(m_start);
    } while (decoded && !*decoded && m_start > 0);
    m_expected = std::move(announced);
    if (!decoded || *decoded)
        return decoded;
    if (m_ahead)
        return m_ahead;
    return avFailure(AVERROR_INVALIDDATA, QStringLiteral("Can’t play"), m_asset->name());
}

void VideoDecoder::restartAt(int sample)
{
    if (m_next >= 0)
        avcodec_flush_buffers(m_codec.get());
    m_next = sample;
    m_start = sample;
    m_skipped.clear();
    m_draining = false;
    m_mustRestart = false;
    m_errors = 0;
    m_ahead = {};
    m_shown = {};
    m_shownPts = noPts;
}

void VideoDecoder::take(VideoFrame frame, int64_t pts)
{
    m_shown = std::move(frame);
    m_shownPts = pts;
}

bool VideoDecoder::isWanted(int sample, int64_t targetPts) const
{
    if (!m_expected.empty())
        return std::binary_search(m_expected.begin(), m_expected.end(), sample);
    const int64_t pts = m_track.index.samples()[size_t(sample)].pts;
    return pts == targetPts || (pts > targetPts && (!m_wanted || (*m_wanted)[size_t(sample)]));
}

Result<void> VideoDecoder::feed(int64_t targetPts)
{
    const bool beyondPlan = !m_expected.empty() && m_next > m_expected.back();
    if (beyondPlan || m_next >= int(m_track.index.samples().size())) {
        m_draining = true;
        avcodec_send_packet(m_codec.get(), nullptr);
        return {};
    }
    const AvHandle<AVPacket> packet = makeAvPacket();
    if (m_track.index.samples()[size_t(m_next)].size > 0) {
        if (Result<void> read = m_reader->read(m_next, *packet); !read)
            return read;
        // Pictures that no other one refers to and that are not shown need not be decoded.
        const bool wanted = !m_referencesOnly && isWanted(m_next, targetPts);
        m_codec->skip_frame = wanted ? AVDISCARD_DEFAULT : AVDISCARD_NONREF;
        if (!wanted)
            noteSkipped(m_next);
        if (avcodec_send_packet(m_codec.get(), packet.get()) < 0 && ++m_errors > maxErrorsInARow)
            return avFailure(AVERROR_INVALIDDATA, QStringLiteral("Can’t play"), m_asset->name());
    }
    ++m_next;
    return {};
}

/// The decoder's next picture, null at the end. False when it must be fed first.
Result<bool> VideoDecoder::receive(int display, VideoFrame& picture)
{
    AvHandle<AVFrame> frame = makeAvFrame();
    const int code = avcodec_receive_frame(m_codec.get(), frame.get());
    if (code == AVERROR_EOF)
        return true;
    if (code < 0) {
        const bool failed = code != AVERROR(EAGAIN) && ++m_errors > (m_device ? maxDeviceErrors : maxErrorsInARow);
        if (failed && !m_device)
            return avFailure(code, QStringLiteral("Can’t play"), m_asset->name());
        if (failed) {
            if (Result<void> fell = fallBack(display); !fell)
                return tl::unexpected(fell.error());
        }
        return false;
    }
    m_errors = 0;
    picture = VideoFrame(frame.release());
    if (!m_device || !m_device->holds(picture))
        return true;
    picture = m_device->fetch(picture);
    if (picture)
        return true;
    if (Result<void> fell = fallBack(display); !fell)
        return tl::unexpected(fell.error());
    return false;
}

/// The picture, or the one before it where it is lost; null when there is none since the start.
Result<VideoFrame> VideoDecoder::decodeUpTo(int display, const Stop& stop)
{
    const int64_t targetPts = m_track.index.sampleOf(display).pts;
    if (m_ahead && m_aheadPts < targetPts)
        take(std::exchange(m_ahead, {}), m_aheadPts);
    for (;;) {
        if (stop && stop())
            return failure(QStringLiteral("Player"), 1);
        if (m_ahead) // Still ahead: what lies between is lost.
            return m_shown;
        VideoFrame picture;
        const Result<bool> received = receive(display, picture);
        if (!received)
            return tl::unexpected(received.error());
        if (!*received) {
            if (Result<void> fed = feed(targetPts); !fed)
                return tl::unexpected(fed.error());
            continue;
        }
        if (!picture)
            return m_shown;
        const int64_t pts = picture.av()->pts;
        if (m_cache)
            m_cache->keep(pts, picture);
        if (pts > targetPts) {
            m_ahead = std::move(picture);
            m_aheadPts = pts;
            continue;
        }
        take(std::move(picture), pts);
        if (pts == targetPts)
            return m_shown;
    }
}

} // namespace kelmo
