#pragma once

#include <cstdint>
#include <span>

namespace kelmo {

/// Keeps a mix within full scale without the grit of clipping: around each peak the volume is lowered smoothly. Sound
/// that stays within full scale passes unchanged to the bit. What comes out at a sample depends only on the `reach`
/// samples on both sides, so any stretch can be limited on its own.
class PeakLimiter {
public:
    static constexpr int reach = 240; ///< Samples, 5 ms at 48 kHz.

    /// Limits the middle of `sound` (interleaved stereo) into `out`: `out` starts `reach` samples into `sound`, and
    /// `sound` ends `reach` samples after it.
    static void limit(std::span<const float> sound, std::span<float> out);
};

} // namespace kelmo
