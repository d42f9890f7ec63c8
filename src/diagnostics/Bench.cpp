#include "diagnostics/Bench.h"

#include "diagnostics/FrameLog.h"
#include "diagnostics/PreviewReader.h"
#include "media/CompositionBuilder.h"
#include "media/PreviewItems.h"
#include "media/stack/player/PictureMaker.h"
#include "media/stack/player/Player.h"
#include "model/Cuts.h"
#include "platform/MonotonicClock.h"

#include <QCoroTimer>
#include <QJsonArray>
#include <QJsonDocument>

#include <cstdio>

namespace kelmo {

namespace {

using namespace std::chrono_literals;

constexpr double playMs = 5000;
constexpr int warmingPictures = 3;

QString modeName(const QStringList& arguments)
{
    return arguments.contains(QStringLiteral("--native")) ? QStringLiteral("native60-bgra")
                                                          : QStringLiteral("1080p30-yuv");
}

/// JSON with its members in the order given, which QJsonObject does not keep.
void print(const QStringList& members)
{
    std::printf("{%s}\n", qPrintable(members.join(QStringLiteral(","))));
    std::fflush(stdout);
}

QString text(const QString& value)
{
    const QByteArray array = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(array.mid(1, array.size() - 2));
}

QString member(const QString& name, const QString& json)
{
    return QStringLiteral("\"") % name % QStringLiteral("\":") % json;
}

QString number(double value, int decimals) { return QString::number(value, 'f', decimals); }

struct Loaded {
    std::shared_ptr<const Built> built;
    std::shared_ptr<const PlayerItem> item;
    PreviewItems items;
};

Result<Loaded> load(const QString& path, const QStringList& arguments)
{
    Built::nativePreview = arguments.contains(QStringLiteral("--native"));
    const Result<Take> take = Take::load(path);
    if (!take)
        return tl::unexpected(take.error());
    const Result<std::shared_ptr<const LoadedTake>> loaded = LoadedTake::load(*take);
    if (!loaded)
        return tl::unexpected(loaded.error());
    Loaded result;
    result.built = CompositionBuilder::build(*loaded, Cuts().keep((*loaded)->durationMs));
    result.item = result.items.item(result.built);
    return result;
}

std::optional<double> swapTime(const QStringList& arguments)
{
    const qsizetype at = arguments.indexOf(QStringLiteral("--swap-at"));
    if (at < 0 || at + 1 >= arguments.size())
        return std::nullopt;
    bool ok = false;
    const double ms = arguments[at + 1].toDouble(&ok);
    return ok ? std::optional(ms) : std::nullopt;
}

/// Makes a few pictures, so that libraries and file are in memory; how long that took.
double prewarm(PictureMaker& maker, const Loaded& loaded)
{
    const double start = MonotonicClock::nowMs();
    maker.setItem(loaded.item);
    MediaTime time;
    for (int i = 0; i < warmingPictures; ++i) {
        const PictureMoment moment = maker.grid().at(time);
        (void)maker.compose(moment, TrackFrames::Use::Run);
        time = moment.end;
    }
    return MonotonicClock::nowMs() - start;
}

/// What an edit does to the player: another item, and back to where it was.
void swap(Player& player, Loaded& loaded)
{
    const MediaTime at = player.position();
    const std::shared_ptr<const Built> again
        = CompositionBuilder::build(loaded.built->loaded, loaded.built->timeline.keep);
    player.setItem(loaded.items.item(again), at);
}

} // namespace

QCoro::Task<void> Bench::play(QString path, QStringList arguments)
{
    Result<Loaded> loaded = load(path, arguments);
    if (!loaded) {
        print({member(QStringLiteral("error"), text(userText(loaded.error())))});
        co_return;
    }
    if (arguments.contains(QStringLiteral("--prewarm"))) {
        PictureMaker maker;
        prewarm(maker, *loaded);
    }
    const std::optional<double> swapAt = swapTime(arguments);
    Player player;
    player.setMuted(true);
    player.setPictureBox(QSize(loaded->item->width, loaded->item->height));
    player.setItem(loaded->item);
    double prerollMs = 0;
    const bool prerolls = arguments.contains(QStringLiteral("--preroll"));
    if (prerolls) {
        const double requested = MonotonicClock::nowMs();
        player.preroll();
        while (!player.picture())
            co_await QCoro::sleepFor(5ms);
        prerollMs = MonotonicClock::nowMs() - requested;
    }

    const double start = MonotonicClock::nowMs();
    player.play(1);
    FrameLog frames;
    bool swapped = false;
    std::shared_ptr<const QImage> last;
    for (double now = 0; now < playMs; now = MonotonicClock::nowMs() - start) {
        const std::shared_ptr<const QImage> picture = player.picture();
        if (picture && picture != last) {
            last = picture;
            frames.add(MonotonicClock::nowMs() - start);
        }
        if (swapAt && !swapped && now >= *swapAt) {
            swapped = true;
            swap(player, *loaded);
        }
        co_await QCoro::sleepFor(5ms);
    }
    player.pause();

    QStringList members{
        member(QStringLiteral("mode"), text(modeName(arguments) % (swapAt ? QStringLiteral("+swap") : QString()))),
        member(QStringLiteral("framesIn5s"), QString::number(frames.count())),
        member(QStringLiteral("maxGapMs"), number(frames.maxGapMs(), 1)),
        member(QStringLiteral("freezesOver100ms"), QString::number(frames.freezes().size())),
        member(QStringLiteral("freezeAtMs+len"), text(frames.freezes().join(QStringLiteral(" ")))),
        member(QStringLiteral("firstFrameMs"), number(frames.firstMs(), 1)),
    };
    if (prerolls)
        members.append(member(QStringLiteral("prerollMs"), number(prerollMs, 1)));
    print(members);
}

QCoro::Task<void> Bench::preview(QString path, QStringList arguments)
{
    const Result<Loaded> loaded = load(path, arguments);
    if (!loaded) {
        print({member(QStringLiteral("error"), text(userText(loaded.error())))});
        co_return;
    }
    if (!loaded->item->overlay) {
        print({member(QStringLiteral("error"), text(QStringLiteral("no face track")))});
        co_return;
    }
    double prewarmMs = 0;
    if (arguments.contains(QStringLiteral("--prewarm"))) {
        PictureMaker maker;
        prewarmMs = prewarm(maker, *loaded);
    }

    constexpr double slowMs = 1000.0 / 30;
    const double start = MonotonicClock::nowMs();
    PreviewReader reader(loaded->item);
    double before = start;
    double firstMs = 0;
    int frames = 0;
    int slow = 0;
    for (; reader.next(); ++frames) {
        const double now = MonotonicClock::nowMs();
        if (frames == 0)
            firstMs = now - start;
        slow += now - before > slowMs;
        before = now;
    }
    const double elapsed = std::max(1.0, MonotonicClock::nowMs() - start);
    print({
        member(QStringLiteral("mode"), text(modeName(arguments))),
        member(
            QStringLiteral("render"), text(QStringLiteral("%1x%2").arg(loaded->item->width).arg(loaded->item->height))),
        member(QStringLiteral("fps"), QString::number(loaded->item->fps)),
        member(QStringLiteral("prewarmMs"), number(prewarmMs, 1)),
        member(QStringLiteral("frames"), QString::number(frames)),
        member(QStringLiteral("framesOver33ms"), QString::number(slow)),
        member(QStringLiteral("realtimeX"), number(loaded->item->composition->duration.ms() / elapsed, 1)),
        member(QStringLiteral("firstFrameMs"), number(firstMs, 1)),
    });
    co_return;
}

} // namespace kelmo
