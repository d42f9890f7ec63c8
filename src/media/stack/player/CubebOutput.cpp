#include "media/stack/player/CubebOutput.h"

#include "platform/MonotonicClock.h"

#include <cubeb/cubeb.h>

#include <algorithm>

namespace kelmo {

namespace {

constexpr const char* clientName = "KelmoEditor";
/// Long enough for a busy machine to keep up, short enough for a pause to be heard at once.
constexpr uint32_t minLatency = 3840;

Result<void> refused(const QString& what) { return failure(QStringLiteral("Sound"), 1, what); }

} // namespace

CubebOutput::CubebOutput()
    : m_context(nullptr, [](cubeb* context) { cubeb_destroy(context); })
    , m_stream(nullptr, [](cubeb_stream* stream) { cubeb_stream_destroy(stream); })
{
}

CubebOutput::~CubebOutput() = default;

Result<void> CubebOutput::open(Pull pull)
{
    m_pull = std::move(pull);
    cubeb* context = nullptr;
    if (cubeb_init(&context, clientName, nullptr) != CUBEB_OK)
        return refused(QStringLiteral("There is no sound server"));
    m_context.reset(context);

    cubeb_stream_params form{};
    form.format = CUBEB_SAMPLE_FLOAT32NE;
    form.rate = rate;
    form.channels = channels;
    form.layout = CUBEB_LAYOUT_STEREO;
    form.prefs = CUBEB_STREAM_PREF_NONE;
    uint32_t latency = minLatency;
    if (cubeb_get_min_latency(context, &form, &latency) != CUBEB_OK)
        latency = minLatency;

    const auto fill = [](cubeb_stream*, void* self, const void*, void* out, long frames) {
        auto* output = static_cast<CubebOutput*>(self);
        output->m_pull(static_cast<float*>(out), int(frames));
        output->m_pulled += frames;
        return frames;
    };
    const auto changed = [](cubeb_stream*, void* self, cubeb_state state) {
        if (state == CUBEB_STATE_ERROR)
            static_cast<CubebOutput*>(self)->m_lost = true;
    };
    m_latency = int(std::clamp<uint32_t>(latency, minLatency, 2 * minLatency));
    cubeb_stream* stream = nullptr;
    const int code = cubeb_stream_init(
        context, &stream, clientName, nullptr, nullptr, nullptr, &form, uint32_t(m_latency), fill, changed, this);
    if (code != CUBEB_OK)
        return refused(QStringLiteral("The sound device cannot be opened"));
    m_stream.reset(stream);
    return {};
}

void CubebOutput::start()
{
    if (cubeb_stream_start(m_stream.get()) != CUBEB_OK)
        m_lost = true;
}

void CubebOutput::stop()
{
    if (!m_lost)
        cubeb_stream_stop(m_stream.get());
}

AudioOutput::Position CubebOutput::position() const
{
    uint64_t frames = 0;
    if (m_lost || cubeb_stream_get_position(m_stream.get(), &frames) != CUBEB_OK)
        return {};
    // While a server starts, its clock may run on without sound; nothing is heard before it has passed the buffer.
    const int64_t passed = std::max<int64_t>(0, m_pulled - m_latency * 3 / 4);
    return {std::min(int64_t(frames), passed), MonotonicClock::nowMs()};
}

} // namespace kelmo
