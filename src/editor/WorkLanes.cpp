#include "editor/WorkLanes.h"

#include <QThread>

#include <algorithm>

namespace kelmo {

namespace {

constexpr int openingThreads = 4;
constexpr int watchingThreads = 2;
constexpr int minGrabbingThreads = 2;
constexpr int maxGrabbingThreads = 6;

} // namespace

WorkLanes::WorkLanes()
{
    opening.setMaxThreadCount(openingThreads);
    watching.setMaxThreadCount(watchingThreads);
    grabbing.setMaxThreadCount(std::clamp(QThread::idealThreadCount(), minGrabbingThreads, maxGrabbingThreads));
    exporting.setMaxThreadCount(1);
}

void WorkLanes::waitForDone()
{
    opening.waitForDone();
    watching.waitForDone();
    grabbing.waitForDone();
    exporting.waitForDone();
}

} // namespace kelmo
