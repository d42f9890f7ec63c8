#include "agent/MCPServer.h"
#include "tests/agent/SmallTake.h"
#include "tests/fakes/ShareServer.h"

#include <QGuiApplication>
#include <QSocketNotifier>
#include <QTemporaryDir>

#include <cstdio>
#include <unistd.h>

using namespace kelmo;

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
    qputenv("KELMO_NO_AUTOSHARE", "1");
    QGuiApplication application(argc, argv);

    Editor editor(Editor::Sound::Muted);
    ShareServer::Options options;
    options.folder = home.filePath(QStringLiteral("shares"));
    options.publicUrl = QStringLiteral("https://example.com");
    const ShareServer shareServer(options);
    Sharer::save({shareServer.endpoint(), QString::fromLatin1(options.token), false});
    Sharer sharer(editor);
    MCPServer server(editor, sharer, 0);
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
