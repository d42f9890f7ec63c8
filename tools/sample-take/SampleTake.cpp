#include "tools/sample-take/SampleTake.h"

#include "tools/moviemaker/MovieMaker.h"
#include "tools/moviemaker/MovieRepeat.h"
#include "tools/sample-take/FacePainter.h"
#include "tools/sample-take/ScreenPainter.h"
#include "tools/sample-take/ScreenSounds.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <future>
#include <random>

namespace kelmo {

namespace {

constexpr double kWebcamOffsetMs = 350;
constexpr double kWebcamEndsEarlierMs = 900; // The recorder stops the camera first.
constexpr int kScreenTicks = 6000; // A second of the screen movie's time base.
constexpr int kWebcamRate = 30;
const QSize kWebcamSize(1280, 720);

VideoSpec videoOf(const TakeOptions& options, QSize size, double framesPerSecond)
{
    const bool hevc = options.codec == QLatin1String("hevc");
    VideoSpec video;
    video.width = size.width();
    video.height = size.height();
    video.codec = options.codec;
    video.frameRate = framesPerSecond;
    video.gopLength = static_cast<int>(framesPerSecond * 4);
    // Recorders that encode while they record do without, and a movie without them can be cut short anywhere.
    video.bFrames = 0;
    video.preset = hevc ? QStringLiteral("ultrafast") : QStringLiteral("superfast");
    video.crf = hevc ? 21 : 17;
    video.colour = ColourTags::bt709();
    video.threads = 2;
    return video;
}

/// Feeds a track up to a time as the pictures advance, so that the muxer never holds much.
class SoundFeed {
public:
    SoundFeed(MovieMaker& maker, std::vector<float> samples, int channels)
        : m_maker(maker)
        , m_samples(std::move(samples))
        , m_channels(channels)
    {
    }

    Result<void> feedTo(double ms)
    {
        const auto frames = static_cast<int64_t>(m_samples.size()) / m_channels;
        const auto until = std::min(frames, static_cast<int64_t>(std::llround(ms * kVoiceRate / 1000)));
        const auto count = static_cast<int>(until - m_done);
        if (count <= 0)
            return {};
        const float* from = m_samples.data() + m_done * m_channels;
        m_done = until;
        return m_maker.addAudio(0, from, count);
    }

private:
    MovieMaker& m_maker;
    std::vector<float> m_samples;
    int m_channels;
    int64_t m_done = 0;
};

std::vector<float> doubled(const std::vector<float>& mono)
{
    std::vector<float> stereo;
    stereo.reserve(mono.size() * 2);
    for (const float sample : mono)
        stereo.insert(stereo.end(), {sample, sample});
    return stereo;
}

Result<void> writeJson(const QString& path, const QJsonObject& object)
{
    QSaveFile file(path);
    const QByteArray text = QJsonDocument(object).toJson();
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit())
        return failure(QStringLiteral("SampleTake"), 1, QStringLiteral("writing %1: %2").arg(path, file.errorString()));
    return {};
}

} // namespace

SampleTake::SampleTake(const TakeOptions& options, SpokenTalk talk)
    : m_options(options)
    , m_talk(std::move(talk))
    , m_offsetMs(options.webcam ? kWebcamOffsetMs : 0)
    , m_screenMs(options.seconds > 0 ? options.seconds * 1000 : m_talk.lengthMs)
    , m_voiceMs(options.webcam ? m_screenMs - kWebcamEndsEarlierMs : m_screenMs)
    , m_director(m_talk, m_offsetMs, options.seed)
{
}

Result<QString> SampleTake::write() const
{
    if (!QDir().mkpath(m_options.folder))
        return failure(QStringLiteral("SampleTake"), 2, QStringLiteral("no folder ") + m_options.folder);
    if (auto written = writeMovies(); !written)
        return tl::unexpected(written.error());
    if (m_options.transcript) {
        if (auto written = writeTranscript(); !written)
            return tl::unexpected(written.error());
    }
    // The sync file comes last: it is what makes the rest a take.
    if (auto written = writeSync(); !written)
        return tl::unexpected(written.error());
    return QFileInfo(pathOf(".mov")).absoluteFilePath();
}

QString SampleTake::pathOf(const char* suffix) const
{
    return QDir(m_options.folder).filePath(m_options.base + QString::fromUtf8(suffix));
}

Result<void> SampleTake::writeMovies() const
{
    const QString screenPart = pathOf("_part.mov");
    const QString webcamPart = pathOf("_webcam_part.mov");
    std::future<Result<void>> webcam;
    if (m_options.webcam)
        webcam = std::async(std::launch::async, [&] { return writeWebcam(webcamPart); });
    Result<void> written = writeScreen(screenPart);
    if (webcam.valid()) {
        const Result<void> webcamWritten = webcam.get();
        if (written)
            written = webcamWritten;
    }
    if (written)
        written = place(screenPart, pathOf(".mov"), m_screenMs);
    if (written && m_options.webcam)
        written = place(webcamPart, pathOf("_webcam.mov"), m_voiceMs);
    QFile::remove(screenPart);
    QFile::remove(webcamPart);
    return written;
}

Result<void> SampleTake::place(const QString& movie, const QString& path, double lengthMs) const
{
    return repeatMovie(movie, path, m_talk.lengthMs, lengthMs);
}

Result<void> SampleTake::writeScreen(const QString& path) const
{
    MovieSpec spec;
    spec.path = path;
    spec.video = videoOf(m_options, m_options.size, m_options.framesPerSecond);
    spec.video->timeBase = {1, kScreenTicks};
    spec.audio = {AudioSpec{.bitRate = 160000}};
    auto maker = MovieMaker::create(spec);
    if (!maker)
        return tl::unexpected(maker.error());
    std::vector<float> sound
        = screenSounds(m_director.keyTimes(), m_director.slideTimes(), m_talk.lengthMs, m_options.seed);
    if (!m_options.webcam)
        std::transform(sound.begin(), sound.end(), m_talk.samples.begin(), sound.begin(), std::plus<>());
    SoundFeed feed(*maker, doubled(sound), 2);

    ScreenPainter painter(m_options.size);
    std::mt19937 random(m_options.seed + 99);
    std::optional<ScreenState> shown;
    for (int64_t tick = 0;; ++tick) {
        const double ms = static_cast<double>(tick) * 1000 / m_options.framesPerSecond;
        if (ms + 5 >= m_talk.lengthMs)
            break;
        const ScreenState state = m_director.at(ms);
        if (shown == state)
            continue;
        // A recorder stamps a picture when it arrives, a little after the display's own beat.
        const int64_t late = tick == 0 ? 0 : static_cast<int64_t>(random() % 10);
        if (auto added = maker->addVideoFrame(painter.paint(state), std::llround(ms * kScreenTicks / 1000) + late);
            !added)
            return added;
        if (auto fed = feed.feedTo(ms); !fed)
            return fed;
        shown = state;
    }
    if (auto fed = feed.feedTo(m_talk.lengthMs); !fed)
        return fed;
    return maker->finish();
}

Result<void> SampleTake::writeWebcam(const QString& path) const
{
    MovieSpec spec;
    spec.path = path;
    spec.video = videoOf(m_options, kWebcamSize, kWebcamRate);
    spec.video->timeBase = {1, 600};
    spec.video->crf += 5; // A face in a small circle, without text.
    spec.audio = {AudioSpec{.channels = 1, .bitRate = 128000}};
    auto maker = MovieMaker::create(spec);
    if (!maker)
        return tl::unexpected(maker.error());
    std::vector<float> voice = m_talk.samples;
    addRoom(voice, m_options.seed);
    SoundFeed feed(*maker, std::move(voice), 1);

    FacePainter painter(kWebcamSize);
    int64_t frame = 0;
    for (const FaceState& state : animateFace(m_talk.samples, kWebcamRate, m_options.seed)) {
        if (auto added = maker->addVideoFrame(painter.paint(state), frame * 600 / kWebcamRate); !added)
            return added;
        if (auto fed = feed.feedTo(static_cast<double>(frame++) * 1000 / kWebcamRate); !fed)
            return fed;
    }
    if (auto fed = feed.feedTo(m_talk.lengthMs); !fed)
        return fed;
    return maker->finish();
}

Result<void> SampleTake::writeSync() const
{
    QJsonObject sync;
    sync[QStringLiteral("recorder")] = QStringLiteral("corvane");
    sync[QStringLiteral("screenFileName")] = QString(m_options.base + QStringLiteral(".mov"));
    sync[QStringLiteral("screenAudioStartMs")] = 0.0;
    if (m_options.webcam) {
        sync[QStringLiteral("webcamFileName")] = QString(m_options.base + QStringLiteral("_webcam.mov"));
        sync[QStringLiteral("webcamOffsetFromScreenMs")] = m_offsetMs;
    }
    return writeJson(pathOf("_sync.json"), sync);
}

Result<void> SampleTake::writeTranscript() const
{
    const auto tenths = [](double ms) { return std::round(ms * 10) / 10; };
    QJsonArray words;
    for (double startMs = 0; startMs < m_voiceMs; startMs += m_talk.lengthMs) {
        for (const SpokenWord& word : m_talk.words) {
            if (startMs + word.endMs > m_voiceMs)
                break;
            words.append(QJsonObject{{QStringLiteral("text"), word.text},
                {QStringLiteral("startMs"), tenths(startMs + word.startMs)},
                {QStringLiteral("endMs"), tenths(startMs + word.endMs)},
                {QStringLiteral("confidence"), word.confidence}});
        }
    }
    QJsonObject transcript{{QStringLiteral("words"), words}};
    if (m_options.aligned)
        transcript[QStringLiteral("aligned")] = true;
    if (!m_options.webcam)
        transcript[QStringLiteral("timeBase")] = QStringLiteral("screenFile");
    return writeJson(pathOf("_transcript.json"), transcript);
}

} // namespace kelmo
