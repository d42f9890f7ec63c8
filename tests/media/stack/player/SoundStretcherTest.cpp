#include "media/stack/player/SoundStretcher.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace kelmo {

namespace {

constexpr int rate = 48000;

std::vector<float> tone(double hertz, int frames)
{
    std::vector<float> sound;
    for (int i = 0; i < frames; ++i) {
        const auto value = float(0.3 * std::sin(2 * std::numbers::pi * hertz * i / rate));
        sound.insert(sound.end(), {value, value});
    }
    return sound;
}

std::vector<float> stretched(const std::vector<float>& sound, double by)
{
    SoundStretcher stretcher(by);
    std::vector<float> out;
    constexpr size_t chunk = 1024 * 2;
    for (size_t at = 0; at < sound.size(); at += chunk) {
        const size_t count = std::min(chunk, sound.size() - at);
        stretcher.put(sound.data() + at, int(count / 2));
        if (at + count == sound.size())
            stretcher.finish();
        const std::vector<float> more = stretcher.take();
        out.insert(out.end(), more.begin(), more.end());
    }
    return out;
}

/// By rising zero crossings of the left channel, the ends left out.
double pitch(const std::vector<float>& sound)
{
    const size_t frames = sound.size() / 2;
    double first = 0;
    double last = 0;
    int periods = -1;
    for (size_t i = frames / 10; i < frames * 9 / 10; ++i) {
        const double before = sound[2 * i];
        const double after = sound[2 * i + 2];
        if (before < 0 && after >= 0) {
            last = double(i) - before / (after - before);
            if (++periods == 0)
                first = last;
        }
    }
    return periods * rate / (last - first);
}

} // namespace

TEST(SoundStretcher, toneFasterKeepsPitchAndHasTheRightLength)
{
    const std::vector<float> sound = tone(220, 10 * rate);
    for (const double by : {1.5, 2.0, 3.0}) {
        const std::vector<float> fast = stretched(sound, by);
        EXPECT_NEAR(pitch(fast), 220, 2.2) << by;
        EXPECT_NEAR(double(fast.size()), double(sound.size()) / by, 0.005 * double(sound.size()) / by) << by;
    }
}

TEST(SoundStretcher, rateOnePassesEverySample)
{
    const std::vector<float> sound = tone(997, 5000);
    EXPECT_EQ(stretched(sound, 1), sound);
}

TEST(SoundStretcher, consumedTellsWhereInTheInputTheOutputIs)
{
    // Silence, then a tone from second 20 on: the count must say so when the tone comes out.
    std::vector<float> sound(size_t(20 * rate) * 2, 0.0f);
    const std::vector<float> after = tone(440, 5 * rate);
    sound.insert(sound.end(), after.begin(), after.end());
    for (const double by : {1.5, 2.0, 3.0}) {
        SoundStretcher stretcher(by);
        double heardAt = 0;
        for (size_t at = 0; at < sound.size() && heardAt == 0; at += 2048) {
            stretcher.put(sound.data() + at, 1024);
            const double from = stretcher.consumed();
            const std::vector<float> out = stretcher.take();
            for (size_t i = 0; i < out.size() && heardAt == 0; i += 2) {
                if (std::abs(out[i]) > 0.05f)
                    heardAt = from + double(i / 2) * by;
            }
        }
        // Pieces of the input are kept whole, so a sound may come 20 ms early or late, as the listener's time goes.
        EXPECT_NEAR(heardAt / rate, 20, 0.02 * by) << by;
    }
}

} // namespace kelmo
