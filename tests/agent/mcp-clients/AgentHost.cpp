#include "agent/MCPServer.h"
#include "tests/agent/SmallTake.h"

#include <QGuiApplication>
#include <QSocketNotifier>
#include <QTemporaryDir>

#include <cstdio>
#include <unistd.h>

using namespace kelmo;

namespace {

QCoro::Task<Result<QString>> shareAtOnce(bool) { co_return QStringLiteral("https://example.com/v/1"); }

} // namespace

// An editor without a window, in a home folder of its own, with the small take open and its server on a free port.
// Prints "port <n>" when all of that is ready, and ends with its standard input.
int main(int argc, char** argv)
{
    const QTemporaryDir home;
    const QString takes = home.filePath(QStringLiteral("takes"));
    if (!QDir().mkpath(takes))
        return 1;
    qputenv("HOME", QFile::encodeName(home.path()));
    qputenv("CORVANE_TAKES_DIR", QFile::encodeName(takes));
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("KELMO_ANALYTICS", "0");
    QGuiApplication application(argc, argv);

    Editor editor(Editor::Sound::Muted);
    MCPServer server(editor, shareAtOnce, 0);
    QObject::connect(&server, &MCPServer::listening, &editor, [](quint16 port) {
        std::printf("port %d\n", port);
        std::fflush(stdout);
    });
    editor.onTakeReady = [&server](const Take&) {
        static bool started = false;
        if (!std::exchange(started, true))
            server.start();
    };
    editor.open(SmallTake::write(takes));

    QSocketNotifier ended(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&ended, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
    return QCoreApplication::exec();
}
