#pragma once

#include "media/stack/container/Asset.h"
#include "media/stack/decode/DecoderPool.h"
#include "model/Take.h"

namespace kelmo {

/// The media of a take, opened: what compositions are cut from. Immutable and shared; may be read from any thread.
struct LoadedTake {
    /// One usable track, and when it shows or sounds on its own file's clock.
    struct Source {
        std::shared_ptr<const Asset> asset;
        const Track* track = nullptr; ///< Owned by `asset`.
        TimeRange range;
    };

    using Opened = Result<std::shared_ptr<const LoadedTake>>;

    Take take; ///< Its files; the words are the editor’s, and may be missing here.
    std::vector<std::shared_ptr<const Asset>> assets; ///< The screen movie, then the webcam movie if there is one.
    Source screenVideo;
    std::vector<Source> screenAudio; ///< In file order.
    std::optional<Source> camVideo;
    std::vector<Source> camAudio; ///< In file order.
    double durationMs = 0; ///< Of the screen movie; the source clock runs from 0 to here.
    int renderWidth = 0; ///< Upright pixels of the screen movie.
    int renderHeight = 0;
    float fps = 0; ///< Nominal, of the screen movie.

    /// Decoders of these files that stay open for the next frame that is asked for.
    std::shared_ptr<DecoderPool> decoders = std::make_shared<DecoderPool>();

    /// Opens the movies of a take, both at once; its words don't matter. Blocks; call it on a worker. Fails with
    /// ("Take", 2) when the screen movie has no video, and with the media stack's error when a file cannot be opened.
    [[nodiscard]] static Opened load(const Take& take);
};

} // namespace kelmo
