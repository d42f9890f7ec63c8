#include "benchmarks/BenchTake.h"
#include "benchmarks/MpvPeer.h"
#include "benchmarks/Row.h"

#include "editor/Editor.h"
#include "media/PreviewItems.h"
#include "media/stack/player/Player.h"

#include <random>

namespace kelmo::bench {

namespace {

constexpr QSize window(1280, 720);
constexpr int openings = 7;
constexpr int seeks = 100;

QString text(const char* latin) { return QString::fromLatin1(latin); }

QString inMs(double ours, double peer)
{
    return QStringLiteral("%1 ms against %2 ms").arg(ours * 1e3, 0, 'f', 1).arg(peer * 1e3, 0, 'f', 1);
}

Outcome exactSeek()
{
    const std::shared_ptr<const LoadedTake> loaded = BenchTake::tenMinutes();
    Player player;
    player.setMuted(true);
    player.setPictureBox(window);
    player.setItem(PreviewItems().item(CompositionBuilder::build(loaded, {{0, loaded->durationMs}})));
    waitFor([&] { return player.picture() != nullptr; });
    MpvPeer mpv;
    mpv.open(loaded->take.screenURL.toLocalFile());
    std::minstd_rand random(5);
    std::vector<double> ours;
    std::vector<double> peer;
    for (int i = 0; i < seeks; ++i) {
        const double at = random() % 599'000;
        ours.push_back(wallSeconds([&] {
            bool landed = false;
            player.seek(MediaTime::fromMs(at), [&](bool) { landed = true; });
            waitFor([&] { return landed; });
        }));
        peer.push_back(mpv.seek(at));
    }
    const double times = median(ours) / median(peer);
    return {times, text("times as long"), text("1 or less"), times <= 1, inMs(median(ours), median(peer))};
}

/// From the command to the first picture of a take that is not open yet, in a program that runs.
Outcome openToFirstFrame()
{
    const std::shared_ptr<const LoadedTake> loaded = BenchTake::oneHour();
    const QTemporaryDir folder;
    const QString take = BenchTake::withWords(folder, *loaded, 10'000);
    MpvPeer mpv;
    const Pair seconds = alternate(
        openings,
        [&] {
            Editor editor(Editor::Sound::Muted);
            editor.setPictureBox(window);
            return wallSeconds([&] {
                editor.open(take);
                waitFor([&] { return editor.picture() != nullptr; });
            });
        },
        [&] { return mpv.open(loaded->take.screenURL.toLocalFile()); });
    const double times = seconds.ours / seconds.peer;
    return {times, text("times as long"), text("1 or less"), times <= 1, inMs(seconds.ours, seconds.peer)};
}

} // namespace

std::vector<Row> seekRows()
{
    return {
        {text("exact-seek"), text("exact seek to a random time, 10-minute take: median of 100, against mpv"),
            exactSeek},
        {text("open-frame"), text("open to first frame, one-hour 1080p take, 10,000 words, against mpv"),
            openToFirstFrame},
    };
}

} // namespace kelmo::bench
