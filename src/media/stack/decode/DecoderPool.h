#pragma once

#include "media/stack/decode/VideoDecoder.h"

#include <mutex>
#include <vector>

namespace kelmo {

/// Keeps decoders open between uses, so that looking at one more frame of a file costs no opening. Thread-safe; must
/// outlive what it lends.
class DecoderPool {
public:
    /// A lent decoder, which goes back to the pool when the lease ends.
    class Lease {
    public:
        Lease(DecoderPool& pool, std::unique_ptr<VideoDecoder> decoder)
            : m_pool(&pool)
            , m_decoder(std::move(decoder))
        {
        }
        ~Lease();
        Lease(Lease&&) = default;
        Lease& operator=(Lease&&) = delete;

        VideoDecoder* operator->() const { return m_decoder.get(); }

    private:
        DecoderPool* m_pool;
        std::unique_ptr<VideoDecoder> m_decoder;
    };

    /// An idle decoder of the track, preferably one from which `display` is near; a new one when none is idle.
    [[nodiscard]] Result<Lease> lend(const std::shared_ptr<const Asset>& asset, const Track& track, int display);

private:
    std::mutex m_mutex;
    std::vector<std::unique_ptr<VideoDecoder>> m_idle;
};

} // namespace kelmo
