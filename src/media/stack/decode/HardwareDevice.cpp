#include "media/stack/decode/HardwareDevice.h"

#include "media/stack/core/AvHandles.h"

extern "C" {
#include <libavutil/hwcontext.h>
}

#include <QFileInfo>

#include <array>

namespace kelmo {

namespace {

struct Kind {
    AVHWDeviceType type;
    const char* node; ///< Without it the machine has no such device, and the driver need not complain about that.
};
/// In the order in which they are tried: the first is what most machines have.
constexpr std::array kinds{Kind{AV_HWDEVICE_TYPE_VAAPI, "/dev/dri"}, Kind{AV_HWDEVICE_TYPE_CUDA, "/dev/nvidia0"}};

bool decodesWith(const AVCodec* codec, AVHWDeviceType kind)
{
    for (int i = 0; const AVCodecHWConfig* config = avcodec_get_hw_config(codec, i); ++i) {
        if (config->device_type == kind && config->methods & AV_CODEC_HW_CONFIG_METHOD_HW_DEVICE_CTX)
            return true;
    }
    return false;
}

class AvDevice final : public HardwareDevice {
public:
    AvDevice(AVHWDeviceType kind, AVBufferRef* context)
        : m_kind(kind)
        , m_context(context)
    {
    }

    [[nodiscard]] QString name() const override { return QString::fromLatin1(av_hwdevice_get_type_name(m_kind)); }
    [[nodiscard]] AVBufferRef* context() const override { return m_context.get(); }
    [[nodiscard]] bool holds(const VideoFrame& frame) const override { return frame.av()->hw_frames_ctx != nullptr; }
    [[nodiscard]] VideoFrame fetch(const VideoFrame& frame) const override
    {
        AvHandle<AVFrame> fetched = makeAvFrame();
        if (!fetched || av_hwframe_transfer_data(fetched.get(), frame.av(), 0) < 0
            || av_frame_copy_props(fetched.get(), frame.av()) < 0)
            return {};
        return VideoFrame(fetched.release());
    }

private:
    const AVHWDeviceType m_kind;
    const AvHandle<AVBufferRef> m_context;
};

} // namespace

std::shared_ptr<const HardwareDevice> HardwareDevice::openFor(const Track& track)
{
    const AVCodec* codec = avcodec_find_decoder(track.parameters->codec_id);
    for (const auto& [type, node] : kinds) {
        AVBufferRef* context = nullptr;
        if (codec && QFileInfo::exists(QString::fromLatin1(node)) && decodesWith(codec, type)
            && av_hwdevice_ctx_create(&context, type, nullptr, nullptr, 0) == 0)
            return std::make_shared<AvDevice>(type, context);
    }
    return nullptr;
}

} // namespace kelmo
