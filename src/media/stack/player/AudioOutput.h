#pragma once

#include "platform/Error.h"

#include <cstdint>
#include <functional>

namespace kelmo {

/// A way for sound to be heard, or to pass unheard at the right speed: it pulls 48 kHz stereo and tells how much of it
/// has left the speaker. Owned by SoundDevice, whose thread makes every call but position() and isLost(), which may
/// come from any thread.
class AudioOutput {
public:
    static constexpr int rate = 48000; ///< Frames a second.
    static constexpr int channels = 2;

    /// Fills `frames` interleaved stereo frames, full scale 1.0. Called on the output's own thread; never blocks long.
    using Pull = std::function<void(float* interleaved, int frames)>;

    /// How far the listener is.
    struct Position {
        int64_t frames = 0; ///< Heard since open(), of those that were pulled.
        double atMs = 0; ///< When that was so, on the monotonic clock.
    };

    AudioOutput() = default;
    virtual ~AudioOutput() = default;
    AudioOutput(const AudioOutput&) = delete;
    AudioOutput& operator=(const AudioOutput&) = delete;

    /// Makes ready without pulling anything yet. May block while a sound server answers. Fails without a device.
    [[nodiscard]] virtual Result<void> open(Pull pull) = 0;
    virtual void start() = 0;
    virtual void stop() = 0; ///< The position stays where it is.
    [[nodiscard]] virtual Position position() const = 0;
    [[nodiscard]] virtual bool isLost() const = 0; ///< The device has gone away and will not come back in this object.
};

} // namespace kelmo
