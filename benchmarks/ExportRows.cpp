#include "benchmarks/BenchTake.h"
#include "benchmarks/Row.h"

#include "media/ExportPlan.h"
#include "media/Exporter.h"
#include "media/FaceCompositor.h"
#include "media/stack/core/AvHandles.h"
#include "media/stack/decode/FrameSequence.h"

#include <QCoreApplication>
#include <QProcess>

#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>

namespace kelmo::bench {

namespace {

constexpr int rounds = 5;

QString text(const char* latin) { return QString::fromLatin1(latin); }

ExportSettings settingsFor(Codec codec)
{
    ExportSettings settings;
    settings.codec = codec;
    settings.fps = 30;
    return settings;
}

double exportSeconds(const std::shared_ptr<const Built>& built, Codec codec, const QString& path)
{
    return wallSeconds([&] {
        const std::atomic<bool> cancelled = false;
        const Result<ExportReport> report = Exporter::run(
            built, settingsFor(codec), path, [](double) {}, cancelled);
        if (!report) {
            std::fprintf(stderr, "%s\n", qPrintable(userText(report.error())));
            std::exit(1);
        }
    });
}

/// "between(t,0,1.5)+between(...)", half-open as our pieces are.
QString selection()
{
    QStringList parts;
    for (const Span piece : BenchTake::fortyCuts())
        parts.append(QStringLiteral("gte(t\\,%1)*lt(t\\,%2)").arg(piece.start / 1000).arg(piece.end / 1000));
    return parts.join(QLatin1Char('+'));
}

/// The cap keeps ffmpeg to the rate: without one its HEVC file is a tenth larger than ours.
QStringList encoderArguments(Codec codec)
{
    const QString rate = QString::number(Exporter::bitRate(codec, {1920, 1080}, 30));
    const QString twice = QString::number(2 * Exporter::bitRate(codec, {1920, 1080}, 30));
    QStringList video = codec == Codec::H264
        ? QStringList{text("-c:v"), text("libx264"), text("-preset"), text("superfast")}
        : QStringList{text("-c:v"), text("libx265"), text("-preset"), text("ultrafast"), text("-x265-params"),
            text("log-level=error")};
    video += {text("-b:v"), rate, text("-maxrate"), twice, text("-bufsize"), twice, text("-g"), text("60")};
    return video
        + QStringList{text("-c:a"), text("aac"), text("-b:a"), text("192k"), text("-movflags"), text("+faststart")};
}

double ffmpegSeconds(Codec codec, const QString& path)
{
    const QString keep = selection();
    return programSeconds(text("ffmpeg"),
        QStringList{text("-v"), text("error"), text("-y"), text("-i"), BenchTake::screenPath(false), text("-vf"),
            QStringLiteral("select='%1',setpts=N/FRAME_RATE/TB,fps=30").arg(keep), text("-af"),
            QStringLiteral("aselect='%1',asetpts=N/SR/TB").arg(keep)}
            + encoderArguments(codec) + QStringList{path});
}

/// The same edit with the face: the webcam cropped, scaled, given an alpha mask and laid over.
double ffmpegFaceSeconds(const QString& path)
{
    const FaceCircle circle = FaceCircle::in(1920, 1080);
    const QString keep = selection();
    const QString graph = QStringLiteral(
        "[0:v]select='%1',setpts=N/FRAME_RATE/TB,fps=30[screen];"
        "[1:v]select='%1',setpts=N/FRAME_RATE/TB,fps=30,crop=720:720,scale=%2:%2,format=yuva420p[face];"
        "color=white:s=%2x%2:r=30,format=gray,geq=lum='clip(255*(%3-hypot(X-%3+0.5\\,Y-%3+0.5))/1.5\\,0\\,255)',"
        "trim=end_frame=1,loop=-1:1[mask];"
        "[face][mask]alphamerge[round];[screen][round]overlay=%4:%5:shortest=1[v];"
        "[0:a]aselect='%1',asetpts=N/SR/TB[a]")
                              .arg(keep)
                              .arg(circle.diameter)
                              .arg(circle.diameter / 2.0)
                              .arg(circle.left)
                              .arg(circle.top);
    return programSeconds(text("ffmpeg"),
        QStringList{text("-v"), text("error"), text("-y"), text("-i"), BenchTake::screenPath(true), text("-i"),
            BenchTake::webcamPath(), text("-filter_complex"), graph, text("-map"), text("[v]"), text("-map"),
            text("[a]")}
            + encoderArguments(Codec::H264) + QStringList{path});
}

Outcome timesFaster(const Pair& seconds, double target)
{
    const double times = seconds.peer / seconds.ours;
    return {times, text("times faster"), QStringLiteral("%1 or more").arg(target), times >= target,
        QStringLiteral("%1 s against %2 s").arg(seconds.ours, 0, 'f', 2).arg(seconds.peer, 0, 'f', 2)};
}

Outcome plainExport()
{
    const std::shared_ptr<const Built> built
        = CompositionBuilder::build(BenchTake::steady(false), BenchTake::fortyCuts());
    return timesFaster(
        alternate(
            rounds, [&] { return exportSeconds(built, Codec::H264, BenchTake::outputPath(text("ours.mp4"))); },
            [] { return ffmpegSeconds(Codec::H264, BenchTake::outputPath(text("peer.mp4"))); }),
        1.6);
}

Outcome faceExport()
{
    const std::shared_ptr<const Built> built
        = CompositionBuilder::build(BenchTake::steady(true), BenchTake::fortyCuts());
    return timesFaster(
        alternate(
            rounds, [&] { return exportSeconds(built, Codec::H264, BenchTake::outputPath(text("ours.mp4"))); },
            [] { return ffmpegFaceSeconds(BenchTake::outputPath(text("peer.mp4"))); }),
        2.5);
}

std::vector<PlannedFrame> exportPlan(const Built& built)
{
    return ExportPlan::withKeyFrames(
        ExportPlan::capped(ExportPlan::ownFrames(built.composition), 30, built.composition.duration),
        built.composition.duration);
}

FrameSequence screenFrames(const Built& built, const std::vector<PlannedFrame>& plan)
{
    std::vector<int> displays;
    for (const PlannedFrame& frame : plan)
        displays.push_back(frame.screen);
    const CompositionTrack& screen = built.composition.screen;
    return {std::move(*VideoDecoder::open(screen.asset, *screen.track, 1)), displays};
}

/// Processor time for exactly the frames that the export needs, decoded and encoded one after the other.
double neededCpuSeconds(const Built& built)
{
    const auto plan = exportPlan(built);
    VideoEncoding encoding;
    encoding.width = 1920;
    encoding.height = 1080;
    encoding.bitRate = Exporter::bitRate(Codec::H264, {1920, 1080}, 30);
    encoding.color = built.composition.screen.track->color.completed(1080);
    return cpuSeconds([&] {
        FrameSequence sequence = screenFrames(built, plan);
        const std::unique_ptr<VideoEncoder> encoder = std::move(*VideoEncoder::open(encoding));
        const auto nowhere = [](AVPacket&) { return Result<void>(); };
        for (const PlannedFrame& frame : plan) {
            if (!encoder->encode(*sequence.next(), frame.pts, frame.key, nowhere))
                std::exit(1);
        }
        if (!encoder->finish(nowhere))
            std::exit(1);
    });
}

Outcome exportAgainstLimit()
{
    const std::shared_ptr<const Built> built
        = CompositionBuilder::build(BenchTake::steady(false), BenchTake::fortyCuts());
    const double cores = std::thread::hardware_concurrency();
    std::vector<double> ourCpuSeconds;
    const Pair seconds = alternate(
        rounds,
        [&] {
            double wall = 0;
            ourCpuSeconds.push_back(
                cpuSeconds([&] { wall = exportSeconds(built, Codec::H264, BenchTake::outputPath(text("ours.mp4"))); }));
            return wall;
        },
        [&] { return neededCpuSeconds(*built) / cores; });
    const double share = seconds.ours / seconds.peer;
    return {share, text("of the limit"), text("1.1 or less"), share <= 1.1,
        QStringLiteral("%1 s (processor time over the cores %2 s) against %3 s")
            .arg(seconds.ours, 0, 'f', 2)
            .arg(median(ourCpuSeconds) / cores, 0, 'f', 2)
            .arg(seconds.peer, 0, 'f', 2)};
}

/// PSNR of the luma against the same pictures in lossless form, the n-th against the n-th.
double psnr(const QString& path, const QString& reference)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(text("ffmpeg"),
        {text("-hide_banner"), text("-i"), path, text("-i"), reference, text("-lavfi"),
            text("[0:v]settb=1/30,setpts=N[a];[1:v]settb=1/30,setpts=N[b];[a][b]psnr=shortest=1"), text("-f"),
            text("null"), text("-")});
    process.waitForFinished(-1);
    const QString output = QString::fromUtf8(process.readAll());
    const qsizetype at = output.lastIndexOf(text("y:"));
    return output.mid(at + 2, 9).section(QLatin1Char(' '), 0, 0).toDouble();
}

const QStringList& lossless()
{
    static const QStringList arguments{
        text("-an"), text("-c:v"), text("libx264"), text("-preset"), text("ultrafast"), text("-qp"), text("0")};
    return arguments;
}

/// The pictures that our export takes, which lie at their own times and not on the peer's grid.
void writeOurReference(const Built& built, const QString& path)
{
    const auto plan = exportPlan(built);
    QProcess ffmpeg;
    ffmpeg.start(text("ffmpeg"),
        QStringList{text("-v"), text("error"), text("-y"), text("-f"), text("rawvideo"), text("-pix_fmt"),
            text("yuv420p"), text("-s"), text("1920x1080"), text("-r"), text("30"), text("-i"), text("-")}
            + lossless() + QStringList{path});
    FrameSequence sequence = screenFrames(built, plan);
    for (size_t i = 0; i < plan.size(); ++i) {
        const Result<VideoFrame> frame = sequence.next();
        for (int plane = 0; frame && plane < 3; ++plane) {
            for (int y = 0; y < (plane ? 540 : 1080); ++y) {
                ffmpeg.write(reinterpret_cast<const char*>(frame->av()->data[plane])
                        + ptrdiff_t(y) * frame->av()->linesize[plane],
                    plane ? 960 : 1920);
            }
        }
        while (ffmpeg.bytesToWrite() > 0 && ffmpeg.waitForBytesWritten(-1)) { }
    }
    ffmpeg.closeWriteChannel();
    ffmpeg.waitForFinished(-1);
}

Outcome hevcExport()
{
    const std::shared_ptr<const Built> built
        = CompositionBuilder::build(BenchTake::steady(false), BenchTake::fortyCuts());
    const QString ours = BenchTake::outputPath(text("ours-hevc.mp4"));
    const QString peer = BenchTake::outputPath(text("peer-hevc.mp4"));
    const Pair seconds = alternate(
        rounds, [&] { return exportSeconds(built, Codec::Hevc, ours); },
        [&] { return ffmpegSeconds(Codec::Hevc, peer); });

    const QString ourReference = BenchTake::outputPath(text("our-reference.mkv"));
    writeOurReference(*built, ourReference);
    const QString peerReference = BenchTake::outputPath(text("peer-reference.mkv"));
    [[maybe_unused]] const double made = programSeconds(text("ffmpeg"),
        QStringList{text("-v"), text("error"), text("-y"), text("-i"), BenchTake::screenPath(false), text("-vf"),
            QStringLiteral("select='%1',setpts=N/FRAME_RATE/TB,fps=30").arg(selection())}
            + lossless() + QStringList{peerReference});
    const double oursPsnr = psnr(ours, ourReference);
    const double peerPsnr = psnr(peer, peerReference);
    Outcome outcome = timesFaster(seconds, 1.3);
    outcome.target = text("1.3 or more, PSNR at most 0.3 dB lower");
    outcome.met = outcome.met && oursPsnr >= peerPsnr - 0.3;
    outcome.detail += QStringLiteral("; PSNR %1 dB against %2 dB").arg(oursPsnr).arg(peerPsnr);
    return outcome;
}

/// The program's own peak, read from a child process that does nothing but this export.
Outcome exportMemory()
{
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(), {text("--export-once")});
    child.waitForFinished(-1);
    const double megabytes = child.readAllStandardOutput().trimmed().toDouble();
    return {megabytes, text("MB"), text("500 or less"), megabytes > 0 && megabytes <= 500, {}};
}

} // namespace

void exportOnce()
{
    const std::shared_ptr<const Built> built
        = CompositionBuilder::build(BenchTake::steady(true), BenchTake::fortyCuts());
    [[maybe_unused]] const double seconds
        = exportSeconds(built, Codec::Hevc, BenchTake::outputPath(text("memory.mp4")));
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    std::printf("%.1f\n", double(usage.ru_maxrss) / 1024);
}

std::vector<Row> exportRows()
{
    return {
        {text("export-h264"), text("export H.264 of 40 cuts, 1080p60 to 1080p30, 60 s of output, against ffmpeg"),
            plainExport},
        {text("export-limit"), text("the same, against the processor time that its frames need, over the cores"),
            exportAgainstLimit},
        {text("export-face"), text("export H.264 with the face circle, against ffmpeg with overlay and mask"),
            faceExport},
        {text("export-hevc"), text("export HEVC, against ffmpeg with libx265 ultrafast at the same rate"), hevcExport},
        {text("export-memory"), text("peak memory of a 1080p export with webcam"), exportMemory},
    };
}

} // namespace kelmo::bench
