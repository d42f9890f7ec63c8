#include "benchmarks/BenchTake.h"
#include "benchmarks/Row.h"

#include "media/FrameGrab.h"

#include <cstdio>
#include <cstdlib>
#include <random>

namespace kelmo::bench {

namespace {

constexpr int rounds = 25;

QString text(const char* latin) { return QString::fromLatin1(latin); }

Outcome frameGrab()
{
    const std::shared_ptr<const LoadedTake> loaded = BenchTake::tenMinutes();
    const std::shared_ptr<const Built> built = CompositionBuilder::build(loaded, {{0, loaded->durationMs}});
    std::minstd_rand ourTimes(3);
    std::minstd_rand peerTimes(3);
    const auto randomMs = [&](std::minstd_rand& random) { return double(random() % 599'000); };
    const Pair seconds = alternate(
        rounds,
        [&] {
            const double at = randomMs(ourTimes);
            return wallSeconds([&] {
                const Result<QByteArray> png = FrameGrab::png(*built, at, 1920);
                if (!png)
                    std::exit(1);
            });
        },
        [&] {
            return programSeconds(text("ffmpeg"),
                {text("-v"), text("error"), text("-y"), text("-ss"), QString::number(randomMs(peerTimes) / 1000),
                    text("-i"), loaded->take.screenURL.toLocalFile(), text("-frames:v"), text("1"),
                    BenchTake::outputPath(text("frame.png"))});
        });
    std::vector<double> pictureSeconds;
    for (int i = 0; i < rounds; ++i) {
        const double at = randomMs(ourTimes);
        pictureSeconds.push_back(wallSeconds([&] { (void)FrameGrab::picture(*built, at); }));
    }
    const double times = seconds.peer / seconds.ours;
    return {times, text("times faster"), text("3 or more"), times >= 3,
        QStringLiteral("%1 ms, of which the picture %2 ms, against %3 ms")
            .arg(seconds.ours * 1e3, 0, 'f', 1)
            .arg(median(pictureSeconds) * 1e3, 0, 'f', 1)
            .arg(seconds.peer * 1e3, 0, 'f', 1)};
}

} // namespace

std::vector<Row> frameRows()
{
    return {{text("frame-grab"), text("1080p frame grab at a random time in a 10-minute take, against ffmpeg -ss"),
        frameGrab}};
}

} // namespace kelmo::bench
