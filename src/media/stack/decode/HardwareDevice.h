#pragma once

#include "media/stack/container/Asset.h"
#include "media/stack/picture/VideoFrame.h"

struct AVBufferRef;

namespace kelmo {

/// A part of the machine that decodes pictures beside its processors, as libav drives it. Immutable; shared by the
/// decoders that use it, on any thread.
class HardwareDevice {
public:
    HardwareDevice() = default;
    virtual ~HardwareDevice() = default;
    HardwareDevice(const HardwareDevice&) = delete;
    HardwareDevice& operator=(const HardwareDevice&) = delete;

    /// The first one that opens and can decode this track's kind; null when there is none. Takes some milliseconds.
    [[nodiscard]] static std::shared_ptr<const HardwareDevice> openFor(const Track& track);

    [[nodiscard]] virtual QString name() const = 0;
    [[nodiscard]] virtual AVBufferRef* context() const = 0; ///< libav's; null lets libav decide.
    [[nodiscard]] virtual bool holds(const VideoFrame& frame) const = 0; ///< The picture is in the device's memory.
    /// The picture in ordinary memory; null when it cannot be had.
    [[nodiscard]] virtual VideoFrame fetch(const VideoFrame& frame) const = 0;
};

} // namespace kelmo
