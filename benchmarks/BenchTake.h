#pragma once

#include "media/CompositionBuilder.h"

#include <QTemporaryDir>

namespace kelmo::bench {

/// The takes that are measured on, made once by the sample-take program and ffmpeg into the folder `takes` beside the
/// benchmark program and kept there.
namespace BenchTake {

/// A 120 s screen movie, 1920×1080 at a steady 60 frames a second, B-frames and 2 s groups, AAC sound; with a
/// 1280×720 webcam movie at 30 when `withWebcam`.
[[nodiscard]] std::shared_ptr<const LoadedTake> steady(bool withWebcam);

/// The same content over ten minutes, for looking around in.
[[nodiscard]] std::shared_ptr<const LoadedTake> tenMinutes();

/// One hour, for opening.
[[nodiscard]] std::shared_ptr<const LoadedTake> oneHour();

/// A take in `folder` that refers to the screen movie of `loaded` and has a transcript of `count` words of its own; the
/// path to open.
[[nodiscard]] QString withWords(const QTemporaryDir& folder, const LoadedTake& loaded, int count);

/// 40 pieces of 1.5 s with 1.5 s left out between them: 60 s of output.
[[nodiscard]] std::vector<Span> fortyCuts();

/// Where the files are.
[[nodiscard]] QString screenPath(bool withWebcam);
[[nodiscard]] QString webcamPath();
[[nodiscard]] QString outputPath(const QString& name);

} // namespace BenchTake

} // namespace kelmo::bench
