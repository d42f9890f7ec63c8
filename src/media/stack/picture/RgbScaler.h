#pragma once

#include "media/stack/picture/FrameConverter.h"

#include <QImage>

namespace kelmo {

/// Turns composed pictures into images that a screen shows pixel by pixel. Keeps its scaler between pictures; owned by
/// one thread.
class RgbScaler {
public:
    RgbScaler() = default;
    ~RgbScaler();
    RgbScaler(const RgbScaler&) = delete;
    RgbScaler& operator=(const RgbScaler&) = delete;

    /// Fills `image` (Format_RGB32), whose size is the one scaled to. False when memory runs out.
    [[nodiscard]] bool scale(const VideoFrame& frame, QImage& image, Scaling scaling);

private:
    SwsContext* m_scaler = nullptr;
    int m_place = 0; ///< Of the colour samples, as the picture tells.
};

} // namespace kelmo
