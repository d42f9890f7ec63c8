#include "benchmarks/Row.h"

#include <QEventLoop>
#include <QProcess>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>

namespace kelmo::bench {

Pair alternate(int rounds, const std::function<double()>& ours, const std::function<double()>& peer)
{
    ours();
    peer();
    std::vector<double> oursSeconds;
    std::vector<double> peerSeconds;
    for (int i = 0; i < rounds; ++i) {
        oursSeconds.push_back(ours());
        peerSeconds.push_back(peer());
    }
    return {median(oursSeconds), median(peerSeconds)};
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

double wallSeconds(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double cpuSeconds(const std::function<void()>& work)
{
    const auto used = [] {
        rusage usage;
        getrusage(RUSAGE_SELF, &usage);
        const auto seconds = [](timeval time) { return double(time.tv_sec) + double(time.tv_usec) / 1e6; };
        return seconds(usage.ru_utime) + seconds(usage.ru_stime);
    };
    const double before = used();
    work();
    return used() - before;
}

void waitFor(const std::function<bool()>& holds)
{
    QEventLoop loop;
    QTimer poll; // Often enough to measure milliseconds, and asleep in between.
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (holds())
            loop.quit();
    });
    if (holds())
        return;
    poll.start(1);
    loop.exec();
}

double programSeconds(const QString& program, const QStringList& arguments)
{
    QProcess process;
    const double seconds = wallSeconds([&] {
        process.start(program, arguments);
        process.waitForFinished(-1);
    });
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        std::fprintf(stderr, "%s failed: %s\n", qPrintable(program), process.readAllStandardError().constData());
        std::exit(1);
    }
    return seconds;
}

} // namespace kelmo::bench
