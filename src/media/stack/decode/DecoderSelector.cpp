#include "media/stack/decode/DecoderSelector.h"

#include "platform/MonotonicClock.h"
#include "telemetry/Log.h"

namespace kelmo {

namespace {

/// Enough to get past the start of a decoder, whichever kind.
constexpr int measuredFrames = 48;
/// A device must be that much faster: what it decodes still has to be fetched while the processors do other work.
constexpr double worthwhile = 1.2;

} // namespace

DecoderSelector::DecoderSelector(std::shared_ptr<const Asset> asset, const Track& track, int threads, Opener opener)
    : m_asset(std::move(asset))
    , m_track(track)
    , m_threads(threads)
    , m_thread([this, opener = std::move(opener)] { decide(opener); })
{
}

DecoderSelector::~DecoderSelector()
{
    m_ending = true;
    m_thread.join();
}

/// Milliseconds for the first pictures of the track; none when they cannot be decoded like this.
std::optional<double> DecoderSelector::measure(const std::shared_ptr<const HardwareDevice>& device) const
{
    const Result<std::unique_ptr<VideoDecoder>> decoder = VideoDecoder::open(m_asset, m_track, m_threads, device);
    if (!decoder)
        return std::nullopt;
    const double start = MonotonicClock::nowMs();
    const int count = std::min(measuredFrames, int(m_track.index.frames().size()));
    for (int display = 0; display < count; ++display) {
        const Result<VideoFrame> frame = (*decoder)->frame(display, [this] { return m_ending.load(); });
        if (!frame || (*decoder)->device() != device)
            return std::nullopt;
    }
    return MonotonicClock::nowMs() - start;
}

void DecoderSelector::decide(const Opener& opener)
{
    const std::shared_ptr<const HardwareDevice> device = opener(m_track);
    if (device) {
        const std::optional<double> hardware = measure(device);
        const std::optional<double> software = hardware ? measure(nullptr) : std::nullopt;
        const bool faster = hardware && software && *hardware * worthwhile < *software;
        if (faster) {
            const std::lock_guard lock(m_mutex);
            m_device = device;
        }
        if (!m_ending) {
            const auto ms = [](std::optional<double> value) {
                return value ? QString::number(*value, 'f', 0) % QStringLiteral(" ms") : QStringLiteral("failed");
            };
            Log::line(u"video",
                QStringLiteral("decoding with %1: %2, in software: %3; using %4")
                    .arg(device->name(), ms(hardware), ms(software),
                        faster ? device->name() : QStringLiteral("software")));
        }
    }
    m_decided = true;
}

std::shared_ptr<const HardwareDevice> DecoderSelector::device() const
{
    const std::lock_guard lock(m_mutex);
    return m_device;
}

Result<std::unique_ptr<VideoDecoder>> DecoderSelector::open() const
{
    return VideoDecoder::open(m_asset, m_track, m_threads, device());
}

bool DecoderSelector::isOutdated(const VideoDecoder& decoder) const
{
    return device() && !decoder.device() && !decoder.hasFallenBack();
}

} // namespace kelmo
