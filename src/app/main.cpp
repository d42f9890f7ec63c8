#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "app/SingleInstance.h"
#include "diagnostics/Bench.h"
#include "media/ExportFolder.h"
#include "media/FaceCompositor.h"
#include "media/stack/encode/EncoderProbe.h"
#include "platform/MonotonicClock.h"
#include "platform/QuitSignals.h"
#include "platform/RuntimeFolder.h"
#include "views/style/DarkStyle.h"

#include <QApplication>
#include <QThreadPool>
#include <QTimer>

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

/// Without a display server the program still serves agents, with Qt drawing into memory.
void choosePlatform(bool background)
{
    const bool hasDisplay = qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
    if (qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        return;
    if (!hasDisplay)
        qputenv("QT_QPA_PLATFORM", "offscreen");
    else if (background)
        qputenv("QT_QPA_PLATFORM", "wayland;xcb;offscreen");
}

QStringList argumentsOf(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    return arguments;
}

/// Runs one of the measurements and ends the program.
QCoro::Task<void> measure(kelmo::CommandLine commandLine)
{
    const QStringList arguments = QCoreApplication::arguments();
    if (commandLine.benchPlay)
        co_await kelmo::Bench::play(*commandLine.benchPlay, arguments);
    else
        co_await kelmo::Bench::preview(*commandLine.benchPreview, arguments);
    QCoreApplication::exit(0);
}

/// The editor itself, or the one that already runs.
int edit(const kelmo::CommandLine& commandLine, double launchMs)
{
    using kelmo::AppDelegate;
    using kelmo::SingleInstance;
    const bool hasDisplay = QGuiApplication::platformName() != QStringLiteral("offscreen");
    QThreadPool::globalInstance()->start(&kelmo::FaceCompositor::prewarm);
    QThreadPool::globalInstance()->start(&kelmo::ExportFolder::removeLeftBehind);
    AppDelegate delegate(
        commandLine, launchMs, hasDisplay ? AppDelegate::Display::Present : AppDelegate::Display::None);
    SingleInstance instance(commandLine.port,
        commandLine.runsBeside() ? SingleInstance::IfRunning::RunBeside : SingleInstance::IfRunning::HandOver);
    QObject::connect(&instance, &SingleInstance::isFirst, &delegate, &AppDelegate::applicationDidFinishLaunching);
    QObject::connect(&instance, &SingleInstance::reopened, &delegate, &AppDelegate::applicationShouldHandleReopen);
    QObject::connect(&instance, &SingleInstance::handedOver, qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    QTimer::singleShot(0, &instance, [&] { instance.claim(commandLine.absoluteTake()); });
    return QApplication::exec();
}

/// The parent process may have closed these; what is opened next would take their numbers, and be written to.
void openStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) < 0)
            (void)::open("/dev/null", O_RDWR); // The lowest number that is free: this one.
    }
}

} // namespace

int main(int argc, char** argv)
{
    openStandardStreams();
    if (const std::optional<int> answered = kelmo::EncoderProbe::answer(argc, argv))
        return *answered;
    const double launchMs = kelmo::MonotonicClock::nowMs();
    const kelmo::CommandLine commandLine
        = kelmo::CommandLine::parse(argumentsOf(argc, argv), QProcessEnvironment::systemEnvironment());
    if (commandLine.help || commandLine.version) {
        const QString text
            = commandLine.help ? kelmo::CommandLine::helpText() : QStringLiteral("kelmo-editor " KELMO_VERSION "\n");
        std::fputs(text.toLocal8Bit().constData(), stdout);
        return 0;
    }
    choosePlatform(commandLine.background);
    kelmo::RuntimeFolder::ensure();
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("kelmo-editor"));
    QApplication::setApplicationVersion(QStringLiteral(KELMO_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral(KELMO_APP_ID));
    QApplication::setQuitOnLastWindowClosed(false);
    kelmo::DarkStyle::apply(application);

    const kelmo::QuitSignals quitSignals;
    QObject::connect(&quitSignals, &kelmo::QuitSignals::received, &application, &QCoreApplication::quit);
    if (commandLine.benchPlay || commandLine.benchPreview) {
        QTimer::singleShot(0, &application, [&commandLine] { measure(commandLine); });
        return QApplication::exec();
    }
    return edit(commandLine, launchMs);
}
