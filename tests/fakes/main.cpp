#include "tests/fakes/ShareServer.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>

// The share server as a program: share-server FOLDER TOKEN. Prints "endpoint <url>" once it listens and runs until it
// is told to end (SIGTERM or SIGINT).
int main(int argc, char** argv)
{
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGTERM);
    sigaddset(&ending, SIGINT);
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    const QCoreApplication application(argc, argv);
    if (argc != 3) {
        std::fputs("share-server FOLDER TOKEN\n", stderr);
        return 1;
    }
    kelmo::ShareServer::Options options;
    options.folder = QString::fromLocal8Bit(argv[1]);
    options.token = argv[2];
    const kelmo::ShareServer server(options);
    std::printf("endpoint %s\n", qPrintable(server.endpoint()));
    std::fflush(stdout);
    int received = 0;
    return sigwait(&ending, &received);
}
