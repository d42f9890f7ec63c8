#pragma once

#include "media/stack/encode/PacketSink.h"
#include "platform/Error.h"

#include <memory>
#include <vector>

struct AVCodecContext;

namespace kelmo {

/// Encodes 48 kHz stereo sound as AAC at 192 kbit/s. Owned by one thread at a time.
class AudioEncoder {
public:
    static constexpr int64_t bitRate = 192'000;

    [[nodiscard]] static Result<std::unique_ptr<AudioEncoder>> open();
    ~AudioEncoder();

    /// How many samples the encoder takes at a time.
    [[nodiscard]] int frameSize() const;

    /// Encodes `count` samples (interleaved stereo); at most frameSize(), and fewer only at the very end.
    [[nodiscard]] Result<void> encode(const float* interleaved, int count, const PacketSink& sink);
    [[nodiscard]] Result<void> finish(const PacketSink& sink);

    [[nodiscard]] const AVCodecContext& context() const { return *m_context; }

private:
    AudioEncoder();

    std::unique_ptr<AVCodecContext, void (*)(AVCodecContext*)> m_context;
    int64_t m_position = 0; ///< Samples encoded so far.
};

} // namespace kelmo
