#pragma once

#include "media/stack/AudioOutput.h"

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

    /// Frames between being pulled and being heard, as the server tells; 0 when it doesn't.
    [[nodiscard]] int latency() const;

private:
    std::unique_ptr<cubeb, void (*)(cubeb*)> m_context;
    std::unique_ptr<cubeb_stream, void (*)(cubeb_stream*)> m_stream; // After the context it belongs to.
    Pull m_pull;
    std::atomic<bool> m_lost = false;
};

} // namespace kelmo
