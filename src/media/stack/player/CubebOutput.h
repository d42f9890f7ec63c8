#pragma once

#include "media/stack/player/AudioOutput.h"

#include <atomic>
#include <memory>

struct cubeb;
struct cubeb_stream;

namespace kelmo {

/// The machine's sound, through whatever sound server it has. Pulls on the server's thread.
class CubebOutput final : public AudioOutput {
public:
    CubebOutput();
    ~CubebOutput() override;

    [[nodiscard]] Result<void> open(Pull pull) override;
    void start() override;
    void stop() override;
    [[nodiscard]] Position position() const override;
    [[nodiscard]] bool isLost() const override { return m_lost; }

private:
    std::unique_ptr<cubeb, void (*)(cubeb*)> m_context;
    std::unique_ptr<cubeb_stream, void (*)(cubeb_stream*)> m_stream; // After the context it belongs to.
    Pull m_pull;
    int m_latency = 0; ///< Frames, as asked for.
    std::atomic<int64_t> m_pulled = 0;
    std::atomic<bool> m_lost = false;
};

} // namespace kelmo
