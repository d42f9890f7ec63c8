#include "media/stack/player/SoundStretcher.h"

#include "media/stack/player/AudioOutput.h"

#include <soundtouch/SoundTouch.h>

#include <algorithm>
#include <cmath>

namespace kelmo {

namespace {

constexpr int channels = AudioOutput::channels;

// The lengths that suit speech.
constexpr int sequenceMs = 40;
constexpr int seekWindowMs = 15;
constexpr int overlapMs = 8;

} // namespace

SoundStretcher::SoundStretcher(double rate)
    : m_rate(rate)
{
    if (rate == 1)
        return;
    m_touch = std::make_unique<soundtouch::SoundTouch>();
    m_touch->setSampleRate(AudioOutput::rate);
    m_touch->setChannels(channels);
    m_touch->setSetting(SETTING_SEQUENCE_MS, sequenceMs);
    m_touch->setSetting(SETTING_SEEKWINDOW_MS, seekWindowMs);
    m_touch->setSetting(SETTING_OVERLAP_MS, overlapMs);
    m_touch->setTempo(rate);
}

SoundStretcher::~SoundStretcher() = default;

void SoundStretcher::put(const float* interleaved, int frames)
{
    m_put += frames;
    if (m_touch)
        m_touch->putSamples(interleaved, unsigned(frames));
    else
        m_passing.insert(m_passing.end(), interleaved, interleaved + ptrdiff_t(frames) * channels);
}

void SoundStretcher::finish()
{
    m_finished = true;
    if (m_touch)
        m_touch->flush();
}

std::vector<float> SoundStretcher::take()
{
    std::vector<float> ready;
    if (!m_touch) {
        ready.swap(m_passing);
        m_taken += int64_t(ready.size()) / channels;
        return ready;
    }
    auto frames = int64_t(m_touch->numSamples());
    const auto whole = int64_t(std::llround(double(m_put) / m_rate));
    // The flush pads with silence, of which only as much is kept as the length asks for.
    if (m_finished)
        frames = std::clamp<int64_t>(whole - m_taken, 0, frames);
    ready.resize(size_t(frames) * channels);
    m_touch->receiveSamples(ready.data(), unsigned(frames));
    m_taken += frames;
    if (m_finished && m_taken < whole) {
        ready.resize(ready.size() + size_t(whole - m_taken) * channels);
        m_taken = whole;
    }
    return ready;
}

// The overlapping steps through the input are rate times as long as those through the output, fractions carried over,
// so the two counts keep this ratio for any length of time.
double SoundStretcher::consumed() const { return std::min(double(m_put), double(m_taken) * m_rate); }

} // namespace kelmo
