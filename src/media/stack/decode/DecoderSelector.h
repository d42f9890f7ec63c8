#pragma once

#include "media/stack/decode/VideoDecoder.h"

#include <atomic>
#include <mutex>
#include <thread>

namespace kelmo {

/// How the pictures of a track are decoded. Software is there at once; whether a device of the machine is faster is
/// measured meanwhile, on a thread of its own, which ends with the object. Where there is no device, nothing is
/// measured. Thread-safe.
class DecoderSelector {
public:
    using Opener = std::function<std::shared_ptr<const HardwareDevice>(const Track&)>;

    /// `threads` is for decoding in software.
    DecoderSelector(
        std::shared_ptr<const Asset> asset, const Track& track, int threads, Opener opener = &HardwareDevice::openFor);
    ~DecoderSelector();
    DecoderSelector(const DecoderSelector&) = delete;
    DecoderSelector& operator=(const DecoderSelector&) = delete;

    /// A decoder as is best by now.
    [[nodiscard]] Result<std::unique_ptr<VideoDecoder>> open() const;
    /// Whether open() would give a better one than this.
    [[nodiscard]] bool isOutdated(const VideoDecoder& decoder) const;
    [[nodiscard]] bool isDecided() const { return m_decided; }

private:
    void decide(const Opener& opener);
    [[nodiscard]] std::optional<double> measure(const std::shared_ptr<const HardwareDevice>& device) const;
    [[nodiscard]] std::shared_ptr<const HardwareDevice> device() const;

    const std::shared_ptr<const Asset> m_asset;
    const Track& m_track;
    const int m_threads;
    mutable std::mutex m_mutex;
    std::shared_ptr<const HardwareDevice> m_device; ///< Null for software.
    std::atomic<bool> m_decided = false;
    std::atomic<bool> m_ending = false;
    std::thread m_thread;
};

} // namespace kelmo
