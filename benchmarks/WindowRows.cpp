#include "benchmarks/BenchTake.h"
#include "benchmarks/Row.h"

#include "app/AppDelegate.h"
#include "platform/MonotonicClock.h"
#include "views/style/DarkStyle.h"

#include <QApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <cstdio>
#include <cstdlib>

namespace kelmo::bench {

void playInWindow(const QString& path);

namespace {

constexpr int launches = 9; ///< And one before them that warms up.
constexpr double playingMs = 10'000;
constexpr double settlingMs = 1500; ///< After opening and after pressing play.

QString text(const char* utf8) { return QString::fromUtf8(utf8); }

[[noreturn]] void fail(const QString& what)
{
    std::fprintf(stderr, "%s\n", qPrintable(what));
    std::exit(1);
}

void waitMs(double ms)
{
    const double end = MonotonicClock::nowMs() + ms;
    waitFor([&] { return MonotonicClock::nowMs() >= end; });
}

/// An X server of its own, without a window manager, for programs that are to have a window.
class Screen {
public:
    Screen()
    {
        m_server.start(text("Xvfb"),
            {text("-displayfd"), text("1"), text("-screen"), text("0"), text("1600x1000x24"), text("-nolisten"),
                text("tcp")});
        while (!m_server.canReadLine() && m_server.waitForReadyRead(20'000)) { }
        m_display = QString::fromLatin1(m_server.readLine().trimmed());
        if (m_display.isEmpty())
            fail(text("no Xvfb"));
    }
    ~Screen()
    {
        m_server.terminate();
        m_server.waitForFinished();
    }

    /// What a program needs to know to appear on it and to talk to no other program.
    [[nodiscard]] QProcessEnvironment environment() const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"WAYLAND_DISPLAY", "DBUS_SESSION_BUS_ADDRESS"})
            environment.remove(text(name));
        environment.insert(text("DISPLAY"), text(":") % m_display);
        environment.insert(text("QT_QPA_PLATFORM"), text("xcb"));
        environment.insert(text("KELMO_NO_AUTOSHARE"), text("1"));
        environment.insert(text("KELMO_NO_KEYCHAIN"), text("1"));
        return environment;
    }

private:
    QProcess m_server;
    QString m_display;
};

/// One start of the program: what it says itself about how long its window took, and how long it took from outside,
/// with loading the program and its libraries, in ms.
struct Launch {
    double logged = 0;
    double outside = 0;
};

Launch launched(const Screen& screen)
{
    QProcess program;
    program.setProcessEnvironment(screen.environment());
    const double startedAt = MonotonicClock::nowMs();
    program.start(QCoreApplication::applicationDirPath() % text("/kelmo-editor"),
        {text("--muted"), text("--port"), text("0"), text("--take"), BenchTake::screenPath(true)});
    const QByteArray mark = "launch → window up: ";
    Launch launch;
    while (launch.outside <= 0 && program.waitForReadyRead(20'000)) {
        while (program.canReadLine()) {
            const QByteArray line = program.readLine();
            const qsizetype at = line.indexOf(mark);
            if (at < 0)
                continue;
            launch.logged = line.mid(at + mark.size()).split(' ').first().toDouble();
            launch.outside = MonotonicClock::nowMs() - startedAt;
        }
    }
    if (launch.outside <= 0)
        fail(text("the program has not said that its window is up"));
    program.terminate();
    program.waitForFinished();
    return launch;
}

Outcome windowUp()
{
    (void)BenchTake::steady(true);
    const Screen screen;
    (void)launched(screen);
    std::vector<double> logged;
    std::vector<double> outside;
    for (int i = 0; i < launches; ++i) {
        const Launch launch = launched(screen);
        logged.push_back(launch.logged);
        outside.push_back(launch.outside);
    }
    const double ms = median(logged);
    return {ms, text("ms"), text("250 ms"), ms <= 250,
        QStringLiteral("at most %1 ms in %2 starts; %3 ms from outside, with loading the libraries")
            .arg(*std::max_element(logged.begin(), logged.end()))
            .arg(launches)
            .arg(median(outside), 0, 'f', 0)};
}

/// Percent of a core that this process takes for so long.
double loadFor(double ms)
{
    return cpuSeconds([ms] { waitMs(ms); }) / (ms / 1e3) * 100;
}

Outcome playingInAWindow()
{
    (void)BenchTake::steady(true);
    const Screen screen;
    QProcess program;
    program.setProcessEnvironment(screen.environment());
    program.start(QCoreApplication::applicationFilePath(), {text("--play-window"), BenchTake::screenPath(true)});
    program.waitForFinished(-1);
    QJsonObject result;
    for (const QByteArray& line : program.readAllStandardOutput().split('\n')) {
        if (line.startsWith('{'))
            result = QJsonDocument::fromJson(line).object();
    }
    if (result.isEmpty())
        fail(text("no window to play in: ") % QString::fromUtf8(program.readAllStandardError()));
    return {result.value(text("playing")).toDouble(), text("% of a core"), text("stated"), true,
        QStringLiteral("%1 % while paused; 1080p at 60 frames a second with a webcam")
            .arg(result.value(text("paused")).toDouble(), 0, 'f', 1)};
}

} // namespace

/// Plays a take in the program's own window and prints what that costs.
void playInWindow(const QString& path)
{
    CommandLine commandLine;
    commandLine.muted = true;
    commandLine.port = 0;
    commandLine.take = path;
    DarkStyle::apply(*qApp);
    AppDelegate delegate(commandLine, MonotonicClock::nowMs(), AppDelegate::Display::Present);
    delegate.applicationDidFinishLaunching();
    delegate.window()->resize(1320, 760);
    Editor& editor = delegate.editor();
    waitFor([&] { return editor.picture() != nullptr; });
    waitMs(settlingMs);
    const double paused = loadFor(playingMs / 4);
    editor.togglePlay();
    waitMs(settlingMs);
    const double playing = loadFor(playingMs);
    if (!editor.isPlaying())
        fail(text("it does not play"));
    std::printf("\n{\"paused\":%f,\"playing\":%f}\n", paused, playing);
}

std::vector<Row> windowRows()
{
    return {{text("window-up"), text("launch to window up, warm, as the program logs it"), windowUp},
        {text("window-playing"), text("playing at 1× in a window of 1320×760, raster, on a virtual X server"),
            playingInAWindow}};
}

} // namespace kelmo::bench
