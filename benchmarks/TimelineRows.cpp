#include "benchmarks/BenchTake.h"
#include "benchmarks/Row.h"

#include "platform/MonotonicClock.h"
#include "views/timeline/TimelineBar.h"
#include "views/window/PlayerView.h"

#include <QApplication>
#include <QMouseEvent>
#include <QTimer>

namespace kelmo::bench {

namespace {

QString text(const char* latin) { return QString::fromLatin1(latin); }

void waitFor(const std::function<bool()>& holds)
{
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (holds())
            loop.quit();
    });
    if (holds())
        return;
    poll.start(1);
    loop.exec();
}

/// Cuts evenly over the take, and splits wherever they fit.
void editRoughly(Editor& editor, int cuts, int splits)
{
    Cuts edit;
    const double step = editor.sourceDurationMs() / cuts;
    for (int i = 0; i < cuts; ++i)
        edit.add({{i * step + 50, i * step + step * 0.4}});
    editor.setCuts(std::move(edit), text("Bench"));
    for (int i = 1; i <= splits; ++i) {
        editor.previewSource(editor.sourceDurationMs() * (i - 0.3) / (splits + 1));
        editor.splitAtPlayhead();
    }
}

/// Milliseconds from each move of a pressed mouse to what it changes being painted.
std::vector<double> dragMilliseconds(QWidget& window, QWidget& mouse, double from, double to)
{
    const auto send = [&](QEvent::Type type, double x, Qt::MouseButton button) {
        const QPointF point(x, mouse.height() / 2.0);
        QMouseEvent event(type, point, mouse.mapToGlobal(point), button,
            type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&mouse, &event);
    };
    constexpr int moves = 200;
    std::vector<double> took;
    send(QEvent::MouseButtonPress, from, Qt::LeftButton);
    for (int i = 1; i <= moves; ++i) {
        const double start = MonotonicClock::nowMs();
        send(QEvent::MouseMove, from + (to - from) * i / moves, Qt::NoButton);
        QCoreApplication::sendPostedEvents(&window, QEvent::UpdateRequest);
        took.push_back(MonotonicClock::nowMs() - start);
        QCoreApplication::processEvents();
    }
    send(QEvent::MouseButtonRelease, to, Qt::LeftButton);
    return took;
}

Outcome dragPainting()
{
    Editor editor(Editor::Sound::Muted);
    const QTemporaryDir folder;
    editor.open(BenchTake::withWords(folder, *BenchTake::tenMinutes(), 25'000));
    waitFor([&] { return editor.built() != nullptr; });
    editRoughly(editor, 500, 200);
    QWidget window;
    window.resize(1320, 200);
    TimelineBar bar(editor, &window);
    bar.setGeometry(16, 100, 1288, bar.height());
    window.show();
    QCoreApplication::processEvents();
    QWidget& mouse = *bar.findChild<TrimMouse*>();
    std::vector<double> took;
    for (const auto& [from, to] : {std::pair(8.0, 600.0), std::pair(1280.0, 700.0), std::pair(640.0, 690.0)}) {
        const std::vector<double> more = dragMilliseconds(window, mouse, from, to);
        took.insert(took.end(), more.begin(), more.end());
    }
    const double worst = *std::max_element(took.begin(), took.end());
    const double middle = median(took);
    return {middle, text("ms"), text("4 ms"), middle <= 4,
        QStringLiteral("%1 splits; worst of %2 moves of handles and a selection: %3 ms")
            .arg(editor.splits().size())
            .arg(took.size())
            .arg(worst, 0, 'f', 1)};
}

std::vector<double> gaps(const std::vector<double>& shownMs)
{
    std::vector<double> found;
    for (size_t i = 1; i < shownMs.size(); ++i)
        found.push_back(shownMs[i] - shownMs[i - 1]);
    return found;
}

/// Pictures that should have been shown between those that were, at a steady pace.
int missing(const std::vector<double>& shownMs, double paceMs)
{
    int count = 0;
    for (const double gap : gaps(shownMs))
        count += std::max(0, int(std::lround(gap / paceMs)) - 1);
    return count;
}

double lastOf(const std::vector<double>& values) { return values.empty() ? 0 : values.back(); }

Outcome filmstripFilling()
{
    constexpr int tiles = 20;
    constexpr double viewWidth = 1668;
    const QString path = BenchTake::oneHour()->take.screenURL.toLocalFile();
    Editor editor(Editor::Sound::Muted);
    PlayerView view(editor);
    view.resize(1280, 720);
    view.show();
    editor.open(path);
    waitFor([&] { return editor.picture() != nullptr; });
    std::vector<double> shown;
    std::shared_ptr<const QImage> last;
    QObject::connect(&editor, &Editor::pictureChanged, [&] {
        if (std::exchange(last, editor.picture()) != editor.picture())
            shown.push_back(MonotonicClock::nowMs());
    });
    editor.togglePlay();
    waitFor([&] { return shown.size() > 60; });

    Filmstrip strip;
    strip.use(editor.take()->screenURL, editor.loaded());
    const std::vector<double> times = TimelineGeometry(editor.fullTimeline(), viewWidth).tileTimes();
    const double pace = median(gaps(shown));
    const int before = missing(shown, pace);
    shown.clear();
    const double start = MonotonicClock::nowMs();
    strip.request(times);
    waitFor([&] { return !strip.isWorking(); });
    const double filledMs = MonotonicClock::nowMs() - start;
    const auto there = std::count_if(times.begin(), times.end(), [&](double ms) { return !strip.image(ms).isNull(); });
    waitFor([&] { return lastOf(shown) > start + filledMs; });
    const int dropped = missing(shown, pace);
    return {filledMs, text("ms"), text("1500 ms, no picture dropped"),
        filledMs <= 1500 && dropped == 0 && there == tiles && times.size() == tiles,
        QStringLiteral("%1 tiles, %2 of %3 pictures dropped meanwhile, %4 of 60 before")
            .arg(there)
            .arg(dropped)
            .arg(shown.size() + size_t(dropped))
            .arg(before)};
}

} // namespace

std::vector<Row> timelineRows()
{
    return {{text("timeline-drag"),
                text("timeline drag, 25,000 words, 500 cuts and 200 splits: move to painted, median"), dragPainting},
        {text("filmstrip"), text("20 thumbnails of a 1-hour take while it plays"), filmstripFilling}};
}

} // namespace kelmo::bench
