#include "media/stack/container/FrameSize.h"

#include "media/stack/container/MaskedFileIO.h"

#include <cstdlib>

namespace kelmo {

namespace {

constexpr size_t maxTries = 5; ///< Samples that are decoded until a frame comes out.

/// The first frame of a stream; null when none comes out.
AvHandle<AVFrame> firstFrame(const AVCodecParameters& parameters, const std::vector<Sample>& samples, MaskedFileIO& io)
{
    const AVCodec* codec = avcodec_find_decoder(parameters.codec_id);
    const AvHandle<AVCodecContext> context(codec ? avcodec_alloc_context3(codec) : nullptr);
    if (!context || avcodec_parameters_to_context(context.get(), &parameters) < 0)
        return nullptr;
    context->thread_count = 1;
    if (avcodec_open2(context.get(), codec, nullptr) < 0)
        return nullptr;
    const AvHandle<AVPacket> packet = makeAvPacket();
    AvHandle<AVFrame> frame = makeAvFrame();
    for (size_t i = 0; i < std::min(samples.size(), maxTries); ++i) {
        // A single frame comes out as soon as the decoder hears that no more follow.
        if (io.readSample(samples[i], *packet) && avcodec_send_packet(context.get(), packet.get()) >= 0
            && avcodec_send_packet(context.get(), nullptr) >= 0
            && avcodec_receive_frame(context.get(), frame.get()) >= 0)
            return frame;
        avcodec_flush_buffers(context.get());
    }
    return nullptr;
}

} // namespace

void settleFrameSize(AVStream& stream, const std::vector<Sample>& samples, MaskedFileIO& io)
{
    AVCodecParameters& parameters = *stream.codecpar;
    const bool isUnknown = parameters.width <= 0 || parameters.height <= 0;
    const bool isOdd = (parameters.width | parameters.height) & 1;
    if (!isUnknown && !isOdd)
        return;
    const AvHandle<AVFrame> frame = firstFrame(parameters, samples, io);
    if (!frame)
        return;
    const bool isClose
        = std::abs(frame->width - parameters.width) <= 1 && std::abs(frame->height - parameters.height) <= 1;
    if (isUnknown || isClose) {
        parameters.width = frame->width;
        parameters.height = frame->height;
    }
    if (isUnknown && stream.sample_aspect_ratio.num <= 0)
        parameters.sample_aspect_ratio = frame->sample_aspect_ratio;
}

} // namespace kelmo
