#include "media/stack/composition/PeakLimiter.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kelmo {

namespace {

/// What a stereo sample must be multiplied by to stay within full scale.
float neededGain(const float* sample)
{
    const float peak = std::max(std::abs(sample[0]), std::abs(sample[1]));
    return peak > 1.0f ? 1.0f / peak : 1.0f;
}

} // namespace

void PeakLimiter::limit(std::span<const float> sound, std::span<float> out)
{
    const auto middle = sound.subspan(2 * reach, out.size());
    std::copy(middle.begin(), middle.end(), out.begin());
    if (std::none_of(sound.begin(), sound.end(), [](float value) { return std::abs(value) > 1.0f; }))
        return;

    // The least gain within half the reach of each sample, then its mean over the other half: the mean never rises
    // above what the peak itself needs, because every value that it averages there already holds that peak.
    constexpr int half = reach / 2;
    const int count = int(sound.size() / 2);
    std::vector<float> least(size_t(count), 1.0f);
    for (int i = 0; i < count; ++i) {
        const float gain = neededGain(&sound[2 * size_t(i)]);
        if (gain < 1.0f) {
            for (int j = std::max(0, i - half); j <= std::min(count - 1, i + half); ++j)
                least[size_t(j)] = std::min(least[size_t(j)], gain);
        }
    }
    for (int i = 0; i < int(out.size() / 2); ++i) {
        const int centre = i + reach;
        double sum = 0;
        for (int j = centre - half; j <= centre + half; ++j)
            sum += least[size_t(j)];
        const auto gain = float(sum / (2 * half + 1));
        for (float& value : out.subspan(2 * size_t(i), 2))
            value = std::clamp(value * gain, -1.0f, 1.0f);
    }
}

} // namespace kelmo
