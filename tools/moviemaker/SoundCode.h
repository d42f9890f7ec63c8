#pragma once

// Sound whose position can be read back: noise below 3.2 kHz that never repeats, so any window of some 4096 samples
// tells where in the sound it was, to a small part of a sample, also after AAC, resampling, or under other sound. It is
// defined over time, not over samples, so it is the same sound at every sample rate. A value type; any thread.

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace kelmo {

class SoundCode {
public:
    /// Different seeds give unrelated sounds. `level` is the sound's RMS; peaks reach some four times that.
    explicit SoundCode(uint32_t seed = 1, double level = 0.1);

    /// `count` samples of one channel from sample `first` on, at `sampleRate`.
    [[nodiscard]] std::vector<float> mono(int64_t first, int count, int sampleRate) const;
    /// Interleaved: this sound on the left and the sound of seed + 1000 on the right.
    [[nodiscard]] std::vector<float> stereo(int64_t first, int count, int sampleRate) const;
    [[nodiscard]] SoundCode rightChannel() const { return SoundCode(m_seed + 1000, m_level); }

    /// Where in the sound `window` (one channel) begins, in samples at `sampleRate`, among the positions from
    /// `searchFrom` to `searchTo`; nothing when it is not there. The window's own loudness and sign do not matter.
    [[nodiscard]] std::optional<double> findPosition(
        std::span<const float> window, int sampleRate, int64_t searchFrom, int64_t searchTo) const;

private:
    void fill(double first, int sampleRate, std::span<float> samples) const;
    [[nodiscard]] double similarity(std::span<const float> window, double position, int sampleRate) const;
    [[nodiscard]] double refined(std::span<const float> window, int64_t position, int sampleRate) const;

    uint32_t m_seed;
    double m_level;
};

} // namespace kelmo
