#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace soundtouch {
class SoundTouch;
}

namespace kelmo {

/// Makes speech faster without making it higher. 48 kHz stereo in and out. At rate 1 sound passes untouched, to the
/// bit. Owned by one thread.
class SoundStretcher {
public:
    /// `rate` 1 and more is faster. Requires 0.25 to 4.
    explicit SoundStretcher(double rate);
    ~SoundStretcher();

    void put(const float* interleaved, int frames);
    void finish(); ///< Nothing follows: what is still inside comes out, so that the length is right.

    /// What is ready, interleaved, possibly nothing.
    [[nodiscard]] std::vector<float> take();

    /// Input frames that all sound taken so far stands for.
    [[nodiscard]] double consumed() const;

private:
    const double m_rate;
    std::unique_ptr<soundtouch::SoundTouch> m_touch; ///< None at rate 1.
    std::vector<float> m_passing;
    int64_t m_put = 0; ///< Frames.
    int64_t m_taken = 0;
    bool m_finished = false;
};

} // namespace kelmo
