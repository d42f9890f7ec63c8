#pragma once

// Correlation of a short window with long stretches of sound by fast Fourier transforms. Owned by the searcher.

#include <complex>
#include <memory>
#include <span>
#include <vector>

struct AVTXContext;

namespace kelmo {

class Correlation {
public:
    /// Prepares the search for `window`.
    explicit Correlation(std::span<const float> window);
    ~Correlation();
    Correlation(const Correlation&) = delete;
    Correlation& operator=(const Correlation&) = delete;

    /// How many samples `products` takes, and how many positions it answers for.
    [[nodiscard]] int blockLength() const { return m_length; }
    [[nodiscard]] int positions() const { return m_length - m_window + 1; }

    /// The inner product of the window with the block at each of the first positions() offsets.
    [[nodiscard]] std::vector<float> products(std::span<const float> block);

private:
    using Spectrum = std::vector<std::complex<float>>;
    [[nodiscard]] Spectrum forward(std::span<const float> samples);

    int m_window;
    int m_length;
    AVTXContext* m_forward = nullptr;
    AVTXContext* m_backward = nullptr;
    void (*m_run)(AVTXContext*, void*, void*, ptrdiff_t) = nullptr;
    void (*m_runBack)(AVTXContext*, void*, void*, ptrdiff_t) = nullptr;
    Spectrum m_conjugate; ///< Of the window.
};

} // namespace kelmo
