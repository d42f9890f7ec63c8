#include "media/LoadedTake.h"

#include <future>

namespace kelmo {

namespace {

using OpenedAsset = Result<std::shared_ptr<const Asset>>;

std::vector<LoadedTake::Source> sources(const std::shared_ptr<const Asset>& asset, MediaType type)
{
    std::vector<LoadedTake::Source> found;
    for (const Track& track : asset->tracks()) {
        if (track.type == type)
            found.push_back({asset, &track, track.range});
    }
    return found;
}

} // namespace

LoadedTake::Opened LoadedTake::load(const Take& take)
{
    std::future<OpenedAsset> webcam;
    if (take.webcamURL) {
        webcam = std::async(std::launch::async, [path = take.webcamURL->toLocalFile()] { return Asset::open(path); });
    }
    const OpenedAsset screen = Asset::open(take.screenURL.toLocalFile());
    const std::optional<OpenedAsset> camera = webcam.valid() ? std::optional(webcam.get()) : std::nullopt;
    if (!screen)
        return tl::unexpected(screen.error());
    if (camera && !*camera)
        return tl::unexpected(camera->error());

    const std::vector<Source> screenVideos = sources(*screen, MediaType::Video);
    if (screenVideos.empty())
        return failure(QStringLiteral("Take"), 2, QStringLiteral("Screen file has no video track"));
    auto loaded = std::make_shared<LoadedTake>();
    loaded->take = take;
    loaded->assets.push_back(*screen);
    loaded->screenVideo = screenVideos.front();
    loaded->screenAudio = sources(*screen, MediaType::Audio);
    if (camera) {
        loaded->assets.push_back(**camera);
        const std::vector<Source> videos = sources(**camera, MediaType::Video);
        if (!videos.empty())
            loaded->camVideo = videos.front();
        loaded->camAudio = sources(**camera, MediaType::Audio);
    }
    loaded->durationMs = (*screen)->duration().ms();
    loaded->renderWidth = loaded->screenVideo.track->uprightWidth();
    loaded->renderHeight = loaded->screenVideo.track->uprightHeight();
    loaded->fps = float(loaded->screenVideo.track->nominalFps);
    return std::shared_ptr<const LoadedTake>(std::move(loaded));
}

} // namespace kelmo
