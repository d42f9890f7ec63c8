#include "media/ExportRun.h"

#include "telemetry/Log.h"

#include <pthread.h>

namespace kelmo {

namespace {

/// How many bytes of pictures to keep in stock: a cut costs the decoder the way from the key picture, and the encoder
/// lives on them meanwhile. HEVC takes several times as long for each, and its encoder holds many to look ahead.
size_t maxStockBytes(Codec codec) { return codec == Codec::Hevc ? 25'000'000 : 100'000'000; }

/// The same in pictures of a size: at least what evens out small hiccups.
size_t queueDepth(Codec codec, Exporter::Size size)
{
    const size_t bytes = size_t(size.width) * size_t(size.height) * 3 / 2;
    return std::clamp<size_t>(maxStockBytes(codec) / std::max<size_t>(bytes, 1), 6, 60);
}

constexpr int sessionFps = 60;
/// The most pictures a second that an edit without a grid may have; more is a broken clock.
constexpr int maxOwnFps = 240;

void nameThread(const char* name) { pthread_setname_np(pthread_self(), name); }

} // namespace

ExportRun::ExportRun(std::shared_ptr<const Built> built, const ExportSettings& settings, Exporter::Size size,
    const Exporter::Progress& progress, const std::atomic<bool>& cancelled)
    : m_built(std::move(built))
    , m_settings(settings)
    , m_size(size)
    , m_progress(progress)
    , m_cancelled(cancelled)
    , m_screen(queueDepth(settings.codec, size))
    , m_camera(queueDepth(settings.codec, size))
{
    if (m_settings.engine == ExportSettings::Engine::Session)
        m_settings.fps = sessionFps;
    m_plan = plan();
}

ExportRun::~ExportRun()
{
    stop();
    for (std::thread& thread : m_threads)
        thread.join();
}

std::vector<PlannedFrame> ExportRun::plan() const
{
    const Composition& composition = m_built->composition;
    const int maxFps = m_settings.engine == ExportSettings::Engine::Session ? maxOwnFps : m_settings.fps;
    return ExportPlan::withKeyFrames(composition.camera
            ? ExportPlan::onGrid(composition, m_settings.fps)
            : ExportPlan::capped(ExportPlan::ownFrames(composition), maxFps, composition.duration),
        composition.duration);
}

Result<ExportReport> ExportRun::run(const QString& path)
{
    startScreen();
    Result<void> done;
    std::optional<VideoFrame> first = m_screen.take();
    if (first || m_plan.empty()) {
        const ColorTags color = colorOf(first.value_or(VideoFrame()));
        done = openFile(path, color);
        if (done) {
            m_black = FramePool(m_size.width, m_size.height).black(color);
            startCamera(color);
            startSound();
            done = encodePictures(first.value_or(VideoFrame()));
        }
    }
    if (!done)
        fail(done.error());
    // No more pictures will be taken, whether all are encoded or the export was given up; those who wait go on.
    m_screen.close();
    m_camera.close();
    if (m_writer)
        m_writer->endVideo();
    for (std::thread& thread : m_threads)
        thread.join();
    m_threads.clear();

    if (m_cancelled)
        return tl::unexpected(Exporter::cancellation());
    if (m_error)
        return tl::unexpected(*m_error);
    if (Result<void> finished = m_writer->finish(); !finished)
        return tl::unexpected(finished.error());
    return ExportReport{m_videoEncoder->name(), m_videoEncoder->refusals(), m_notices};
}

void ExportRun::startScreen()
{
    m_threads.emplace_back([this] {
        nameThread("export.screen");
        const Track& source = *m_built->composition.screen.track;
        const bool sameSize
            = m_size.width == (source.uprightWidth() & ~1) && m_size.height == (source.uprightHeight() & ~1);
        if (const Result<void> fed
            = m_screen.run(m_built->composition.screen, m_plan, m_size.width, m_size.height, sameSize);
            !fed)
            fail(fed.error());
        m_screen.close();
    });
}

void ExportRun::startCamera(ColorTags color)
{
    if (!m_built->composition.camera)
        return;
    m_compositor.emplace(m_size.width, m_size.height);
    m_threads.emplace_back([this, color] {
        nameThread("export.camera");
        if (const Result<void> fed
            = m_camera.run(*m_built->composition.camera, m_plan, m_compositor->circle().diameter, color);
            !fed)
            fail(fed.error());
        m_camera.close();
    });
}

void ExportRun::startSound()
{
    if (!m_audioEncoder)
        return;
    m_threads.emplace_back([this] {
        nameThread("export.audio");
        if (const Result<void> encoded = encodeSound(); !encoded)
            fail(encoded.error());
    });
}

ColorTags ExportRun::colorOf(const VideoFrame& first) const
{
    // What the container says holds for the file; what only the stream says is on its pictures.
    const Track& source = *m_built->composition.screen.track;
    return (first ? first.color() : source.color).completed(source.naturalHeight);
}

Result<void> ExportRun::openFile(const QString& path, ColorTags color)
{
    VideoEncoding encoding;
    encoding.codec = traits(m_settings.codec).videoCodec;
    encoding.aim = m_settings.engine == ExportSettings::Engine::Session ? VideoEncoding::Aim::Quality
                                                                        : VideoEncoding::Aim::Speed;
    encoding.width = m_size.width;
    encoding.height = m_size.height;
    encoding.fps = m_settings.fps;
    encoding.bitRate = Exporter::bitRate(m_settings.codec, m_size, m_settings.fps);
    encoding.color = color;
    Result<std::unique_ptr<VideoEncoder>> video = VideoEncoder::open(encoding);
    if (!video) {
        if (m_settings.engine == ExportSettings::Engine::Writer)
            return tl::unexpected(video.error());
        Log::line(u"error", QStringLiteral("no export session: ") % logText(video.error()));
        return failure(QStringLiteral("Editor"), 4, QStringLiteral("Export preset unavailable"));
    }
    m_videoEncoder = std::move(*video);
    if (Result<void> sound = openSound(); !sound)
        return sound;
    Result<std::unique_ptr<MovieWriter>> writer = MovieWriter::create(path, m_videoEncoder->context(),
        m_audioEncoder ? &m_audioEncoder->context() : nullptr, ExportPlan::ticks(m_built->composition.duration));
    if (!writer)
        return tl::unexpected(writer.error());
    m_writer = std::move(*writer);
    return {};
}

Result<void> ExportRun::openSound()
{
    m_mixer = std::make_unique<AudioMixer>(
        m_built->composition.audio, m_built->audioMix.value_or(std::vector<VolumeRamp>()));
    for (const Error& silence : m_mixer->silences())
        m_notices.append(userText(silence));
    m_notices.removeDuplicates(); // Two tracks of a file may have the same fault.
    if (m_mixer->isSilent())
        return {};
    Result<std::unique_ptr<AudioEncoder>> audio = AudioEncoder::open();
    if (!audio)
        return tl::unexpected(audio.error());
    m_audioEncoder = std::move(*audio);
    return {};
}

Result<VideoFrame> ExportRun::composed(const VideoFrame& screen)
{
    const VideoFrame& base = screen ? screen : m_black;
    if (!m_compositor)
        return base;
    const std::optional<CameraFeed::Face> face = m_camera.take();
    if (!face || !*face)
        return base;
    const VideoFrame picture = m_compositor->compose(base, **face);
    if (!picture)
        return failure(QStringLiteral("FaceCompositor"), 1);
    return picture;
}

Result<void> ExportRun::encodePictures(VideoFrame screen)
{
    const auto sink = [this](AVPacket& packet) { return m_writer->writeVideo(packet); };
    const double end = double(ExportPlan::ticks(m_built->composition.duration));
    for (size_t i = 0; i < m_plan.size(); ++i) {
        if (i > 0) {
            std::optional<VideoFrame> next = m_screen.take();
            if (!next)
                return {}; // The feed has failed, and said why.
            screen = std::move(*next);
        }
        if (isStopped())
            return {};
        const Result<VideoFrame> picture = composed(screen);
        if (!picture)
            return tl::unexpected(picture.error());
        if (Result<void> encoded = m_videoEncoder->encode(*picture, m_plan[i].pts, m_plan[i].key, sink); !encoded)
            return encoded;
        m_progress(std::min(double(m_plan[i].pts) / end, 1.0));
    }
    return m_videoEncoder->finish(sink);
}

Result<void> ExportRun::encodeSound()
{
    const auto sink = [this](AVPacket& packet) { return m_writer->writeAudio(packet); };
    const int64_t end = AudioMixer::sampleAt(m_built->composition.duration);
    const int step = m_audioEncoder->frameSize();
    std::vector<float> sound(size_t(step) * AudioTrackReader::channels);
    for (int64_t at = 0; at < end && !isStopped(); at += step) {
        const int count = int(std::min<int64_t>(step, end - at));
        if (Result<void> mixed = m_mixer->mix(at, count, sound.data()); !mixed)
            return mixed;
        if (Result<void> encoded = m_audioEncoder->encode(sound.data(), count, sink); !encoded)
            return encoded;
    }
    return m_audioEncoder->finish(sink);
}

void ExportRun::fail(const Error& error)
{
    {
        const std::lock_guard lock(m_mutex);
        if (!m_error)
            m_error = error;
    }
    stop();
}

void ExportRun::stop()
{
    m_stopped = true;
    // run() ends the audio, because it alone knows whether there is a file yet.
    m_screen.close();
    m_camera.close();
}

} // namespace kelmo
