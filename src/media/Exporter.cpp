#include "media/Exporter.h"

#include "media/ExportRun.h"

namespace kelmo {

namespace {

constexpr int minLines = 16;
constexpr int maxFps = 240;

} // namespace

Error Exporter::cancellation() { return {QStringLiteral("Export"), 6, QStringLiteral("The export was cancelled")}; }

Result<Exporter::Size> Exporter::outputSize(const Built& built, const ExportSettings& settings)
{
    Size size{built.loaded->renderWidth, built.loaded->renderHeight};
    const bool resizes = settings.engine == ExportSettings::Engine::Writer && settings.height;
    if (resizes && *settings.height < minLines) {
        return failure(
            QStringLiteral("Export"), 7, QStringLiteral("The height must be at least %1 lines").arg(minLines));
    }
    if (resizes && *settings.height < size.height) {
        size.width = 2 * int(double(size.width) * *settings.height / size.height * 0.5);
        size.height = *settings.height;
    }
    // Each colour sample covers two by two pixels, so the encoders take even sizes only.
    size.width &= ~1;
    size.height &= ~1;
    if (size.width < minLines || size.height < minLines)
        return failure(QStringLiteral("Export"), 7, QStringLiteral("The picture is too small to export"));
    return size;
}

int64_t Exporter::bitRate(Codec codec, Size size, int fps)
{
    return int64_t(double(size.width) * size.height * fps * traits(codec).bitsPerPixel);
}

Result<ExportReport> Exporter::run(const std::shared_ptr<const Built>& built, const ExportSettings& settings,
    const QString& path, const Progress& progress, const std::atomic<bool>& cancelled)
{
    if (built->composition.duration.us <= 0)
        return failure(QStringLiteral("Export"), 4, QStringLiteral("There is nothing left to export"));
    if (settings.engine == ExportSettings::Engine::Writer && (settings.fps < 1 || settings.fps > maxFps)) {
        return failure(QStringLiteral("Export"), 7,
            QStringLiteral("The frame rate must be from 1 to %1 frames a second").arg(maxFps));
    }
    const Result<Size> size = outputSize(*built, settings);
    if (!size)
        return tl::unexpected(size.error());
    return ExportRun(built, settings, *size, progress, cancelled).run(path);
}

} // namespace kelmo
