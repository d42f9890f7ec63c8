#include "tools/sample-take/FaceState.h"

#include "tools/sample-take/SpeechSynthesizer.h"

#include <numbers>
#include <random>
#include <span>

namespace kelmo {

namespace {

constexpr double kLoudVowel = 0.14; // RMS that opens the mouth wide.
constexpr double kBlinkSeconds = 0.18;

double loudness(std::span<const float> samples)
{
    double sum = 0;
    for (const float sample : samples)
        sum += static_cast<double>(sample) * sample;
    return std::sqrt(sum / std::max<double>(1, static_cast<double>(samples.size())));
}

/// How often the wave crosses zero, as a rough hertz of what sounds: hisses are high, vowels low.
double brightness(std::span<const float> samples)
{
    int crossings = 0;
    for (size_t index = 1; index < samples.size(); ++index)
        crossings += (samples[index] > 0) != (samples[index - 1] > 0) ? 1 : 0;
    return crossings * kVoiceRate / 2.0 / std::max<double>(1, static_cast<double>(samples.size()));
}

double wave(double seconds, double period, double shift)
{
    return std::sin(2 * std::numbers::pi * (seconds / period + shift));
}

std::vector<double> blinkTimes(double lengthSeconds, uint32_t seed)
{
    std::mt19937 random(seed * 13 + 1);
    std::vector<double> times;
    for (double at = 1.4; at < lengthSeconds; at += 2.2 + (random() % 1000) / 1000.0 * 3)
        times.push_back(at);
    return times;
}

double blinkAt(const std::vector<double>& times, double seconds)
{
    for (const double time : times) {
        const double passed = (seconds - time) / kBlinkSeconds;
        if (passed > 0 && passed < 1)
            return std::sin(std::numbers::pi * passed);
    }
    return 0;
}

} // namespace

std::vector<FaceState> animateFace(const std::vector<float>& voice, double framesPerSecond, uint32_t seed)
{
    const double samplesPerFrame = kVoiceRate / framesPerSecond;
    const auto frames = static_cast<int64_t>(std::ceil(static_cast<double>(voice.size()) / samplesPerFrame));
    const std::vector<double> blinks = blinkTimes(static_cast<double>(frames) / framesPerSecond, seed);
    const double shift = (seed % 100) / 100.0;
    std::vector<FaceState> states;
    FaceState face;
    double energy = 0;
    for (int64_t frame = 0; frame < frames; ++frame) {
        const auto first = static_cast<size_t>(static_cast<double>(frame) * samplesPerFrame);
        const auto count = std::min(static_cast<size_t>(samplesPerFrame * 1.2), voice.size() - first);
        const auto heard = std::span(voice).subspan(first, count);
        const double loud = std::clamp(loudness(heard) / kLoudVowel, 0.0, 1.0);
        const double hiss = std::clamp((brightness(heard) - 700) / 2500, 0.0, 1.0);
        const double target = loud * (1 - 0.6 * hiss);
        face.openness += (target - face.openness) * (target > face.openness ? 0.7 : 0.45);
        if (loud > 0.1)
            face.roundness += (1 - hiss - face.roundness) * 0.35;
        energy += (loud - energy) * 0.06;

        const double seconds = static_cast<double>(frame) / framesPerSecond;
        face.blink = blinkAt(blinks, seconds);
        face.brow = std::clamp(energy * 1.3 + 0.25 * wave(seconds, 4.7, shift), 0.0, 1.0);
        face.sway = {9 * wave(seconds, 7.3, shift) + 4 * wave(seconds, 2.9, 0.3),
            5 * wave(seconds, 5.1, 0.6) - 7 * energy + 3 * wave(seconds, 1.7, shift) * energy};
        face.tilt = 1.9 * wave(seconds, 6.1, 0.2 + shift) + 1.4 * wave(seconds, 2.3, 0.1) * energy;
        face.gaze = {0.5 * wave(seconds, 9.7, 0.4), 0.25 * wave(seconds, 6.7, 0.9)};
        states.push_back(face);
    }
    return states;
}

} // namespace kelmo
