#include "tools/sample-take/ScreenSounds.h"

#include "tools/sample-take/SpeechSynthesizer.h"

#include <numbers>
#include <random>

namespace kelmo {

namespace {

constexpr double kTwoPi = 2 * std::numbers::pi;

float noise(std::mt19937& random) { return static_cast<float>(random() % 65536) / 32768.0F - 1; }

template <class Wave> void add(std::vector<float>& sound, double atMs, double lengthSeconds, Wave wave)
{
    const auto first = static_cast<size_t>(std::max(0.0, atMs) * kVoiceRate / 1000);
    const auto count = static_cast<size_t>(lengthSeconds * kVoiceRate);
    for (size_t index = 0; index < count && first + index < sound.size(); ++index)
        sound[first + index] += static_cast<float>(wave(static_cast<double>(index) / kVoiceRate));
}

void addClick(std::vector<float>& sound, double atMs, std::mt19937& random)
{
    const double level = 0.010 + 0.006 * (random() % 100) / 100.0;
    const double thump = 170 + random() % 60;
    float dull = 0;
    add(sound, atMs, 0.05, [&](double t) {
        dull += (noise(random) - dull) * 0.35F;
        return level * (dull * 1.6 * std::exp(-t * 420) + std::sin(kTwoPi * thump * t) * std::exp(-t * 90) * 0.7);
    });
}

void addChime(std::vector<float>& sound, double atMs)
{
    add(sound, atMs, 0.9, [](double t) {
        const double attack = std::min(1.0, t / 0.012);
        const double second = t > 0.09 ? std::sin(kTwoPi * 880 * t) * std::exp(-(t - 0.09) * 6) : 0;
        return 0.016 * attack * (std::sin(kTwoPi * 587.33 * t) * std::exp(-t * 7) + second);
    });
}

} // namespace

std::vector<float> screenSounds(
    const std::vector<double>& keyTimesMs, const std::vector<double>& slideTimesMs, double lengthMs, uint32_t seed)
{
    std::mt19937 random(seed * 101 + 5);
    std::vector<float> sound(static_cast<size_t>(std::llround(lengthMs * kVoiceRate / 1000)));
    for (const double ms : keyTimesMs)
        addClick(sound, ms, random);
    for (const double ms : slideTimesMs)
        addChime(sound, ms);
    return sound;
}

void addRoom(std::vector<float>& voice, uint32_t seed)
{
    std::mt19937 random(seed * 7 + 11);
    float dull = 0;
    for (float& sample : voice) {
        dull += (noise(random) - dull) * 0.12F;
        sample += dull * 0.006F;
    }
}

} // namespace kelmo
