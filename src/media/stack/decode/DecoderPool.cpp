#include "media/stack/decode/DecoderPool.h"

namespace kelmo {

namespace {

/// A 4K decoder holds a quarter of a gigabyte, so only a few are kept.
constexpr size_t maxIdle = 4;
constexpr int threads = 4; // Even on two cores, because a picture waits for rows of the one it refers to.

} // namespace

DecoderPool::Lease::~Lease()
{
    if (!m_decoder)
        return;
    const std::lock_guard lock(m_pool->m_mutex);
    if (m_pool->m_idle.size() >= maxIdle)
        m_pool->m_idle.erase(m_pool->m_idle.begin());
    m_pool->m_idle.push_back(std::move(m_decoder));
}

Result<DecoderPool::Lease> DecoderPool::lend(const std::shared_ptr<const Asset>& asset, const Track& track, int display)
{
    {
        const std::lock_guard lock(m_mutex);
        auto best = m_idle.end();
        for (auto it = m_idle.begin(); it != m_idle.end(); ++it) {
            if (&(*it)->track() == &track
                && (best == m_idle.end() || (*it)->costOf(display) < (*best)->costOf(display)))
                best = it;
        }
        if (best != m_idle.end()) {
            std::unique_ptr<VideoDecoder> decoder = std::move(*best);
            m_idle.erase(best);
            return Lease(*this, std::move(decoder));
        }
    }
    Result<std::unique_ptr<VideoDecoder>> decoder = VideoDecoder::open(asset, track, threads);
    if (!decoder)
        return tl::unexpected(decoder.error());
    return Lease(*this, std::move(*decoder));
}

} // namespace kelmo
