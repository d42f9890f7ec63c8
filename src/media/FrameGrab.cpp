#include "media/FrameGrab.h"

#include "media/FaceCompositor.h"
#include "media/stack/picture/FrameConverter.h"
#include "media/stack/picture/PngWriter.h"

namespace kelmo {

namespace {

ExactTime clampedTime(const Built& built, double editedMs)
{
    const double last = built.timeline.durationMs - 1;
    return ExactTime::of(MediaTime::fromMs(last > 0 ? std::max(0.0, std::min(editedMs, last)) : 0.0));
}

Result<VideoFrame> decoded(const Built& built, const CompositionTrack& track, int display, const FrameGrab::Stop& stop)
{
    Result<DecoderPool::Lease> decoder = built.loaded->decoders->lend(track.asset, *track.track, display);
    if (!decoder)
        return tl::unexpected(decoder.error());
    (*decoder)->expect(std::array{display});
    return (*decoder)->frame(display, stop);
}

Result<VideoFrame> screenAt(const Built& built, ExactTime time, const FrameGrab::Stop& stop)
{
    const CompositionTrack& screen = built.composition.screen;
    const int width = built.loaded->renderWidth;
    const int height = built.loaded->renderHeight;
    const std::optional<int> display = screen.frameAt(time);
    if (!display)
        return FramePool(width, height).black(screen.track->color.completed(height));
    Result<VideoFrame> frame = decoded(built, screen, *display, stop);
    if (!frame)
        return frame;
    FrameConverter converter(width, height, screen.track->quarterTurns, screen.track->color, Scaling::Fine);
    return converter.convert(*frame);
}

} // namespace

Result<VideoFrame> FrameGrab::picture(const Built& built, double editedMs, const Stop& stop)
{
    const ExactTime time = clampedTime(built, editedMs);
    Result<VideoFrame> screen = screenAt(built, time, stop);
    const std::optional<CompositionTrack>& camera = built.composition.camera;
    if (!screen || !camera)
        return screen;
    const std::optional<int> display = camera->frameAt(time);
    if (!display)
        return screen;
    Result<VideoFrame> frame = decoded(built, *camera, *display, stop);
    if (!frame)
        return frame;
    const FaceCompositor compositor(screen->width(), screen->height());
    FaceScaler scaler(compositor.circle().diameter, screen->color().completed(screen->height()),
        camera->track->naturalWidth, camera->track->naturalHeight, camera->track->quarterTurns);
    const std::shared_ptr<const FacePicture> face = scaler.scale(*frame);
    if (!face)
        return failure(QStringLiteral("FaceCompositor"), 1);
    return compositor.compose(*screen, *face);
}

Result<QByteArray> FrameGrab::png(const Built& built, double editedMs, double maxWidth, const Stop& stop)
{
    const Result<VideoFrame> frame = picture(built, editedMs, stop);
    if (!frame)
        return tl::unexpected(frame.error());
    if (!*frame)
        return failure(QStringLiteral("Editor"), 2);
    const double limit = std::max(1.0, maxWidth);
    const double scale = std::min({1.0, limit / frame->width(), limit / frame->height()});
    const auto scaledTo = [&](int pixels) { return std::max(1, int(std::round(pixels * scale))); };
    Result<QByteArray> bytes = pngOf(*frame, scaledTo(frame->width()), scaledTo(frame->height()));
    if (!bytes)
        return failure(QStringLiteral("Editor"), 2);
    return bytes;
}

} // namespace kelmo
