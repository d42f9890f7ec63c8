#pragma once

#include "media/ExportFeeds.h"
#include "media/Exporter.h"
#include "media/FaceCompositor.h"
#include "media/stack/composition/AudioMixer.h"
#include "media/stack/encode/AudioEncoder.h"
#include "media/stack/encode/MovieWriter.h"

#include <mutex>
#include <thread>

namespace kelmo {

/// One export while it runs. Lives on the stack of Exporter::run, whose thread composes and encodes; the screen, the
/// camera and the sound each have a thread beside it. The first thing that goes wrong stops them all.
class ExportRun {
public:
    ExportRun(std::shared_ptr<const Built> built, const ExportSettings& settings, Exporter::Size size,
        const Exporter::Progress& progress, const std::atomic<bool>& cancelled);
    ~ExportRun();

    [[nodiscard]] Result<ExportReport> run(const QString& path);

private:
    [[nodiscard]] std::vector<PlannedFrame> plan() const;
    void startScreen();
    void startCamera(ColorTags color);
    void startSound();
    [[nodiscard]] Result<void> openFile(const QString& path, ColorTags color);
    [[nodiscard]] Result<void> openSound();
    [[nodiscard]] Result<void> encodePictures(VideoFrame first);
    [[nodiscard]] Result<VideoFrame> composed(const VideoFrame& screen);
    [[nodiscard]] Result<void> encodeSound();
    [[nodiscard]] ColorTags colorOf(const VideoFrame& first) const;
    void fail(const Error& error);
    void stop();
    [[nodiscard]] bool isStopped() const { return m_stopped || m_cancelled; }

    std::shared_ptr<const Built> m_built;
    ExportSettings m_settings;
    Exporter::Size m_size;
    Exporter::Progress m_progress;
    const std::atomic<bool>& m_cancelled;
    std::vector<PlannedFrame> m_plan;

    ScreenFeed m_screen;
    CameraFeed m_camera;
    std::optional<FaceCompositor> m_compositor;
    VideoFrame m_black;
    std::unique_ptr<VideoEncoder> m_videoEncoder;
    std::unique_ptr<AudioMixer> m_mixer;
    std::unique_ptr<AudioEncoder> m_audioEncoder; ///< None for a silent edit.
    QStringList m_notices;
    std::unique_ptr<MovieWriter> m_writer;

    std::vector<std::thread> m_threads;
    std::atomic<bool> m_stopped = false;
    std::mutex m_mutex;
    std::optional<Error> m_error; ///< The first one; guarded by m_mutex.
};

} // namespace kelmo
