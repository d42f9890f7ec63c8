#include "tools/moviemaker/SoundCode.h"

#include "tools/moviemaker/Correlation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <numeric>

namespace kelmo {

namespace {

// The sound is a row of pulses of random sign, one every 1/7000 s, each a windowed sinc: noise up to about 3.2 kHz.
// AAC replaces noise above 4 kHz by other noise when it is short of bits, so nothing lies there.
constexpr double kPulsesPerSecond = 7000;
constexpr int kReach = 6; // Pulses to each side that are still heard at one moment.
constexpr int kPhases = 2048;
constexpr double kBandwidth = 0.8; // Of half the pulse rate.

using Taps = std::array<float, 2 * kReach>;

uint32_t scrambled(uint64_t value)
{
    value += 0x9E3779B97F4A7C15ULL;
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9ULL;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EBULL;
    return static_cast<uint32_t>(value >> 33);
}

float pulseSign(uint32_t seed, int64_t index)
{
    const uint64_t key = (static_cast<uint64_t>(seed) << 40) ^ static_cast<uint64_t>(index);
    return scrambled(key) & 1 ? 1.0F : -1.0F;
}

double pulseShape(double distance)
{
    if (std::abs(distance) >= kReach)
        return 0;
    const double angle = std::numbers::pi * distance;
    const double sinc = distance == 0 ? kBandwidth : std::sin(kBandwidth * angle) / angle;
    const double window = 0.5 + 0.5 * std::cos(angle / kReach);
    return sinc * window / std::sqrt(kBandwidth);
}

/// The pulse shape at all its taps, for kPhases steps between one pulse and the next.
const std::vector<Taps>& pulseTable()
{
    static const std::vector<Taps> table = [] {
        std::vector<Taps> phases(kPhases + 1);
        for (int phase = 0; phase <= kPhases; ++phase) {
            for (int tap = 0; tap < 2 * kReach; ++tap) {
                const double distance = static_cast<double>(phase) / kPhases - (tap - kReach + 1);
                phases[static_cast<size_t>(phase)][static_cast<size_t>(tap)] = static_cast<float>(pulseShape(distance));
            }
        }
        return phases;
    }();
    return table;
}

double energy(std::span<const float> samples)
{
    return std::transform_reduce(samples.begin(), samples.end(), 0.0, std::plus<>(),
        [](float sample) { return static_cast<double>(sample) * sample; });
}

} // namespace

SoundCode::SoundCode(uint32_t seed, double level)
    : m_seed(seed)
    , m_level(level)
{
}

void SoundCode::fill(double first, int sampleRate, std::span<float> samples) const
{
    const std::vector<Taps>& table = pulseTable();
    const double pulsesPerSample = kPulsesPerSecond / sampleRate;
    const auto firstPulse = static_cast<int64_t>(std::floor(first * pulsesPerSample)) - kReach + 1;
    const auto pulses = static_cast<size_t>(static_cast<double>(samples.size()) * pulsesPerSample) + 2 * kReach + 2;
    std::vector<float> signs(pulses);
    for (size_t index = 0; index < pulses; ++index)
        signs[index] = pulseSign(m_seed, firstPulse + static_cast<int64_t>(index));

    for (size_t index = 0; index < samples.size(); ++index) {
        const double at = (first + static_cast<double>(index)) * pulsesPerSample;
        const double whole = std::floor(at);
        const double phase = (at - whole) * kPhases;
        const auto step = static_cast<size_t>(phase);
        const auto between = static_cast<float>(phase - static_cast<double>(step));
        const float* sign = signs.data() + (static_cast<int64_t>(whole) - kReach + 1 - firstPulse);
        float sum = 0;
        for (size_t tap = 0; tap < Taps().size(); ++tap)
            sum += sign[tap] * (table[step][tap] + between * (table[step + 1][tap] - table[step][tap]));
        samples[index] = sum * static_cast<float>(m_level);
    }
}

std::vector<float> SoundCode::mono(int64_t first, int count, int sampleRate) const
{
    std::vector<float> samples(static_cast<size_t>(count));
    fill(static_cast<double>(first), sampleRate, samples);
    return samples;
}

std::vector<float> SoundCode::stereo(int64_t first, int count, int sampleRate) const
{
    const std::vector<float> left = mono(first, count, sampleRate);
    const std::vector<float> right = rightChannel().mono(first, count, sampleRate);
    std::vector<float> samples;
    samples.reserve(left.size() * 2);
    for (size_t index = 0; index < left.size(); ++index)
        samples.insert(samples.end(), {left[index], right[index]});
    return samples;
}

double SoundCode::similarity(std::span<const float> window, double position, int sampleRate) const
{
    std::vector<float> samples(window.size());
    fill(position, sampleRate, samples);
    const double product = std::inner_product(window.begin(), window.end(), samples.begin(), 0.0);
    return std::abs(product) / std::sqrt(energy(window) * energy(samples) + 1e-30);
}

double SoundCode::refined(std::span<const float> window, int64_t position, int sampleRate) const
{
    auto best = static_cast<double>(position);
    for (double step = 0.5; step > 0.005; step /= 4) {
        const double before = similarity(window, best - step, sampleRate);
        const double here = similarity(window, best, sampleRate);
        const double after = similarity(window, best + step, sampleRate);
        const double curve = before - 2 * here + after;
        if (curve < 0)
            best += std::clamp(step * (before - after) / (2 * curve), -step, step);
    }
    return best;
}

std::optional<double> SoundCode::findPosition(
    std::span<const float> window, int sampleRate, int64_t searchFrom, int64_t searchTo) const
{
    // Silence has a direction too, that of its rounding errors.
    if (window.size() < 64 || energy(window) / static_cast<double>(window.size()) < 1e-9)
        return std::nullopt;
    Correlation correlation(window);
    double strongest = 0;
    int64_t candidate = 0;
    for (int64_t block = searchFrom; block <= searchTo; block += correlation.positions()) {
        const std::vector<float> products = correlation.products(mono(block, correlation.blockLength(), sampleRate));
        const auto count = std::min<int64_t>(correlation.positions(), searchTo - block + 1);
        for (int64_t index = 0; index < count; ++index) {
            const double strength = std::abs(products[static_cast<size_t>(index)]);
            if (strength > strongest) {
                strongest = strength;
                candidate = block + index;
            }
        }
    }
    // Unrelated noise is similar by 1/sqrt(independent values in the window); seven times that never happens by chance.
    const double independent = static_cast<double>(window.size()) * kPulsesPerSecond * kBandwidth / sampleRate;
    const double position = refined(window, candidate, sampleRate);
    if (similarity(window, position, sampleRate) < 7 / std::sqrt(std::max(independent, 60.0)))
        return std::nullopt;
    return position;
}

} // namespace kelmo
