#pragma once

// What the computer itself sounds like during the sample take: key clicks, a soft chime at every new slide, and the
// room around the microphone. Plain functions; any thread.

#include <cstdint>
#include <vector>

namespace kelmo {

/// Mono at 48 kHz, `lengthMs` long; times are milliseconds from its start.
[[nodiscard]] std::vector<float> screenSounds(
    const std::vector<double>& keyTimesMs, const std::vector<double>& slideTimesMs, double lengthMs, uint32_t seed);

/// Adds a quiet room to a voice: steady, dull noise some 60 dB below full scale.
void addRoom(std::vector<float>& voice, uint32_t seed);

} // namespace kelmo
