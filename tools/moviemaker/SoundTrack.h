#pragma once

// The audio half of MovieMaker: interleaved float samples of one track in, packets out. Owned by MovieMaker, lives on
// its thread.

#include "platform/Error.h"
#include "tools/moviemaker/LibavHandles.h"
#include "tools/moviemaker/MovieSpec.h"

#include <functional>

namespace kelmo {

class SoundTrack {
public:
    using Sink = std::function<Result<void>(AVPacket&)>;

    [[nodiscard]] static Result<std::unique_ptr<SoundTrack>> open(const AudioSpec& spec, bool globalHeader, Sink sink);

    [[nodiscard]] const AVCodecContext& context() const { return *m_context; }

    /// `frames` frames of all channels, full scale is ±1.
    [[nodiscard]] Result<void> add(const float* interleaved, int frames);
    [[nodiscard]] Result<void> finish();

private:
    SoundTrack(const AudioSpec& spec, Sink sink);
    [[nodiscard]] Result<void> openCodec(bool globalHeader);
    [[nodiscard]] Result<void> encodeWhole(bool last);
    [[nodiscard]] Result<void> encode(const float* interleaved, int frames);
    [[nodiscard]] Result<void> drain();

    AudioSpec m_spec;
    Sink m_sink;
    LibavHandle<AVCodecContext> m_context;
    std::vector<float> m_waiting; ///< Samples short of the codec's frame.
    int64_t m_nextPts = 0; ///< In samples.
};

} // namespace kelmo
