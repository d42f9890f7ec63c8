#include "tests/fakes/ShareServer.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>

// The share server as a program: share-server FOLDER TOKEN [DELAY URL]. Answers each request so many milliseconds late,
// with links that begin with the URL; at once and with its own address without them. Prints "endpoint <url>" once it
// listens and runs until it is told to end (SIGTERM or SIGINT).
int main(int argc, char** argv)
{
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGTERM);
    sigaddset(&ending, SIGINT);
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    const QCoreApplication application(argc, argv);
    if (argc != 3 && argc != 5) {
        std::fputs("share-server FOLDER TOKEN [DELAY URL]\n", stderr);
        return 1;
    }
    kelmo::ShareServer::Options options;
    options.folder = QString::fromLocal8Bit(argv[1]);
    options.token = argv[2];
    if (argc == 5)
        options.publicUrl = QString::fromLocal8Bit(argv[4]);
    kelmo::ShareServer server(options);
    if (argc == 5) {
        const std::chrono::milliseconds delay(QByteArray(argv[3]).toInt());
        server.setScript([delay](const kelmo::ShareServer::Request&) {
            return kelmo::ShareServer::Handling{.fault = kelmo::ShareServer::Fault::Slow, .body = {}, .delay = delay};
        });
    }
    std::printf("endpoint %s\n", qPrintable(server.endpoint()));
    std::fflush(stdout);
    int received = 0;
    return sigwait(&ending, &received);
}
