#include "tools/moviemaker/Correlation.h"

#include <algorithm>
#include <bit>

extern "C" {
#include <libavutil/mem.h>
#include <libavutil/tx.h>
}

namespace kelmo {

namespace {

using Complex = std::complex<float>;

struct Free {
    void operator()(Complex* values) const { av_free(values); }
};

/// The transforms ask for memory aligned as libav aligns its own.
std::unique_ptr<Complex, Free> alignedValues(int count)
{
    return std::unique_ptr<Complex, Free>(
        static_cast<Complex*>(av_calloc(static_cast<size_t>(count), sizeof(Complex))));
}

} // namespace

Correlation::Correlation(std::span<const float> window)
    : m_window(static_cast<int>(window.size()))
    , m_length(static_cast<int>(std::bit_ceil(window.size() * 4)))
{
    const float forwardScale = 1;
    const float backwardScale = 1.0F / static_cast<float>(m_length);
    av_tx_init(&m_forward, &m_run, AV_TX_FLOAT_FFT, 0, m_length, &forwardScale, 0);
    av_tx_init(&m_backward, &m_runBack, AV_TX_FLOAT_FFT, 1, m_length, &backwardScale, 0);
    m_conjugate = forward(window);
    for (Complex& value : m_conjugate)
        value = std::conj(value);
}

Correlation::~Correlation()
{
    av_tx_uninit(&m_forward);
    av_tx_uninit(&m_backward);
}

Correlation::Spectrum Correlation::forward(std::span<const float> samples)
{
    const auto in = alignedValues(m_length);
    const auto out = alignedValues(m_length);
    std::copy(samples.begin(), samples.end(), in.get());
    m_run(m_forward, out.get(), in.get(), sizeof(Complex));
    return Spectrum(out.get(), out.get() + m_length);
}

std::vector<float> Correlation::products(std::span<const float> block)
{
    const Spectrum spectrum = forward(block);
    const auto in = alignedValues(m_length);
    const auto out = alignedValues(m_length);
    std::transform(spectrum.begin(), spectrum.end(), m_conjugate.begin(), in.get(), std::multiplies<>());
    m_runBack(m_backward, out.get(), in.get(), sizeof(Complex));
    std::vector<float> result(static_cast<size_t>(positions()));
    const float scale = 1.0F / static_cast<float>(m_length);
    std::transform(out.get(), out.get() + positions(), result.begin(),
        [scale](const Complex& value) { return value.real() * scale; });
    return result;
}

} // namespace kelmo
