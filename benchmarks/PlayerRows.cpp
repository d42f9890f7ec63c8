#include "benchmarks/BenchTake.h"
#include "benchmarks/Row.h"

#include "media/PreviewItems.h"
#include "media/stack/player/Player.h"
#include "model/Cuts.h"
#include "platform/MonotonicClock.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <unistd.h>

namespace kelmo::bench {

namespace {

constexpr QSize window(1280, 720);

QString text(const char* latin) { return QString::fromLatin1(latin); }

void waitMs(double ms)
{
    const double end = MonotonicClock::nowMs() + ms;
    waitFor([&] { return MonotonicClock::nowMs() >= end; });
}

/// What the program's own benchmark prints about a take.
QJsonObject programBench(const QStringList& arguments)
{
    QProcess program;
    program.start(QCoreApplication::applicationDirPath() % text("/kelmo-editor"), arguments);
    program.waitForFinished(-1);
    for (const QByteArray& line : program.readAllStandardOutput().split('\n')) {
        if (line.startsWith('{'))
            return QJsonDocument::fromJson(line).object();
    }
    std::fprintf(stderr, "no result from %s\n", qPrintable(arguments.join(QLatin1Char(' '))));
    std::exit(1);
}

double value(const QJsonObject& object, const char* name) { return object.value(text(name)).toDouble(); }

Outcome previewSpeed()
{
    (void)BenchTake::steady(true);
    std::vector<double> speeds;
    double slow = 0;
    for (int i = 0; i < 5; ++i) {
        const QJsonObject result = programBench({text("--bench-preview"), BenchTake::screenPath(true)});
        speeds.push_back(result.value(text("realtimeX")).toDouble());
        const bool slowFirst = value(result, "firstFrameMs") > 33;
        slow = std::max(slow, value(result, "framesOver33ms") - (slowFirst ? 1 : 0));
    }
    const double speed = median(speeds);
    return {speed, text("times realtime"), text("4 or more, no frame over 33 ms after the first"),
        speed >= 4 && slow <= 0, QStringLiteral("at worst %1 frames over 33 ms after the first in a run").arg(slow)};
}

Outcome playing(const QString& path, const QStringList& more, bool counts)
{
    const QJsonObject result = programBench(QStringList{text("--bench-play"), path} + more);
    const double freezes = value(result, "freezesOver100ms");
    const double gap = value(result, "maxGapMs");
    const double frames = value(result, "framesIn5s");
    const bool met = freezes <= 0 && (!counts || (gap <= 50 && frames >= 145));
    return {freezes, text("freezes"), counts ? text("0; gap at most 50 ms; 145 frames or more") : text("0"), met,
        QStringLiteral("longest gap %1 ms, %2 frames in 5 s").arg(gap).arg(frames)};
}

Outcome playingSteady()
{
    (void)BenchTake::steady(true);
    return playing(BenchTake::screenPath(true), {}, true);
}

Outcome playingSwapped()
{
    (void)BenchTake::steady(true);
    return playing(BenchTake::screenPath(true), {text("--swap-at"), text("2000")}, true);
}

Outcome playingLarge()
{
    (void)BenchTake::steady(false);
    const QString path = BenchTake::outputPath(text("large.mov"));
    if (!QFileInfo::exists(path)) {
        (void)programSeconds(text("ffmpeg"),
            {text("-v"), text("error"), text("-y"), text("-i"), BenchTake::screenPath(false), text("-t"), text("20"),
                text("-vf"), text("scale=3840:2160"), text("-c:v"), text("libx264"), text("-preset"), text("veryfast"),
                text("-g"), text("120"), text("-c:a"), text("copy"), path});
    }
    return playing(path, {}, false);
}

/// 200 cuts all over ten minutes, and one more at a time of its own.
std::vector<Span> twoHundredCuts(double durationMs, double extraMs)
{
    Cuts cuts;
    for (int i = 0; i < 200; ++i)
        cuts.add({{i * 2950.0 + 2600, i * 2950.0 + 2950}});
    cuts.add({{extraMs, extraMs + 300}});
    return cuts.keep(durationMs);
}

/// Where the next edit falls, seen from what is heard: mostly ahead or behind, at times far off, at times right on it.
double editPlace(double sourceMs, unsigned random)
{
    const double away = 300 + random / 16 % 8000;
    switch (random % 8) {
    case 0:
        return sourceMs - 100;
    case 1:
        return 400'000 + away;
    case 2:
    case 3:
        return sourceMs - away;
    default:
        return sourceMs + away;
    }
}

Outcome editWhilePlaying()
{
    const std::shared_ptr<const LoadedTake> loaded = BenchTake::tenMinutes();
    PreviewItems items;
    Player player;
    player.setMuted(true);
    player.setPictureBox(window);
    std::shared_ptr<const Built> built = CompositionBuilder::build(loaded, twoHundredCuts(loaded->durationMs, 500'000));
    player.setItem(items.item(built), MediaTime::fromMs(60'000));
    waitFor([&] { return player.picture() != nullptr; });
    player.play(1);
    waitMs(1000);
    std::minstd_rand random(3);
    std::vector<double> latencies;
    for (int i = 0; i < 100; ++i) {
        waitMs(130 + random() % 400);
        const double start = MonotonicClock::nowMs();
        const double source = built->timeline.source(player.position().ms());
        built = CompositionBuilder::build(
            loaded, twoHundredCuts(loaded->durationMs, editPlace(source, unsigned(random()))));
        bool updated = false;
        player.setItem(
            items.item(built), MediaTime::fromMs(built->timeline.edited(source)), [&](bool) { updated = true; });
        waitFor([&] { return updated; });
        latencies.push_back(MonotonicClock::nowMs() - start);
    }
    const double worst = *std::max_element(latencies.begin(), latencies.end());
    const double middle = median(latencies);
    return {middle, text("ms"), text("33 ms; worst 80 ms"), middle <= 33 && worst <= 80,
        QStringLiteral("worst of 100: %1 ms; one in eight cuts what is being heard").arg(worst, 0, 'f', 1)};
}

Outcome scrubbing()
{
    const std::shared_ptr<const LoadedTake> loaded = BenchTake::tenMinutes();
    Player player;
    player.setMuted(true);
    player.setPictureBox(window);
    player.setItem(PreviewItems().item(CompositionBuilder::build(loaded, {{0, loaded->durationMs}})));
    waitFor([&] { return player.picture() != nullptr; });
    std::shared_ptr<const QImage> last;
    int distinct = 0;
    QObject::connect(&player, &Player::pictureChanged, [&] {
        const bool isNew = player.picture() != last;
        distinct += isNew;
        last = player.picture();
    });
    const double start = MonotonicClock::nowMs();
    bool landed = false;
    for (int i = 0; i < 300; ++i) {
        // A hand that sweeps over ten seconds of the take and back.
        const double at = 100'000 + 5000 * (1 + std::sin(i / 48.0));
        player.seek(MediaTime::fromMs(at), [&landed, i](bool done) { landed = done && i == 299; });
        if (i < 299)
            waitMs(start + (i + 1) * 1000.0 / 60 - MonotonicClock::nowMs());
    }
    const double lastAsked = MonotonicClock::nowMs();
    waitFor([&] { return landed; });
    const double settledMs = MonotonicClock::nowMs() - lastAsked;
    const double rate = distinct / 5.0;
    return {rate, text("pictures a second"), text("20 or more; the last within 50 ms"), rate >= 20 && settledMs <= 50,
        QStringLiteral("the last one after %1 ms").arg(settledMs, 0, 'f', 1)};
}

Outcome pausedCost()
{
    const std::shared_ptr<const LoadedTake> loaded = BenchTake::steady(true);
    Player player;
    player.setPictureBox(window);
    player.setItem(PreviewItems().item(CompositionBuilder::build(loaded, {{0, loaded->durationMs}})));
    waitFor([&] { return player.picture() != nullptr; });
    player.preroll();
    waitMs(2000);
    // Without the polling of waitMs, which costs more than what is measured.
    const double share = cpuSeconds([] {
        QEventLoop loop;
        QTimer::singleShot(10'000, &loop, &QEventLoop::quit);
        loop.exec();
    }) / 10
        * 100;
    return {share, text("% of a core"), text("under 1"), share < 1, text("player and its threads, over 10 s")};
}

double residentMB()
{
    QFile file(text("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ')[1].toDouble() * double(sysconf(_SC_PAGESIZE)) / 1e6;
}

/// Plays at three times, seeks and edits: with the stops of the seeks, fifteen minutes on the wall are thirty of the
/// take.
Outcome soak()
{
    const std::shared_ptr<const LoadedTake> loaded = BenchTake::tenMinutes();
    PreviewItems items;
    Player player;
    player.setMuted(true);
    player.setPictureBox(window);
    std::minstd_rand random(9);
    const auto edited = [&] {
        const double extra = random() % 500'000;
        return items.item(CompositionBuilder::build(loaded, twoHundredCuts(loaded->durationMs, extra)));
    };
    player.setItem(edited());
    double afterFirst = 0;
    for (int second = 0; second < 860; ++second) {
        player.play(3);
        waitMs(700);
        player.seek(MediaTime::fromMs(random() % 500'000));
        waitMs(150);
        player.setItem(edited(), player.position());
        waitMs(150);
        if (second == 60)
            afterFirst = residentMB();
    }
    const double growth = residentMB() - afterFirst;
    return {growth, text("MB"), text("under 20 after the first minute"), growth < 20,
        QStringLiteral("%1 MB after one minute of fifteen, at three times").arg(afterFirst, 0, 'f', 0)};
}

} // namespace

std::vector<Row> playerRows()
{
    return {
        {text("preview-speed"), text("`--bench-preview`, 1080p60 screen and 720p30 webcam"), previewSpeed},
        {text("play"), text("`--bench-play` on the same"), playingSteady},
        {text("play-swap"), text("the same with `--swap-at 2000`"), playingSwapped},
        {text("play-4k"), text("`--bench-play`, 3840×2160 at 60 frames a second"), playingLarge},
        {text("edit-playing"), text("edit to preview updated while playing, 200 cuts, 10-minute take: median"),
            editWhilePlaying},
        {text("scrub"), text("scrub, 60 requests a second over 5 s"), scrubbing},
        {text("paused-cpu"), text("paused, picture shown: processor time over 10 s"), pausedCost},
        {text("player-memory"), text("memory over 30 minutes of play, seeks and edits, fast-forwarded"), soak},
    };
}

} // namespace kelmo::bench
