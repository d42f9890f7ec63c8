#include "platform/QuitSignals.h"

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace kelmo {

namespace {

constexpr int signalNumbers[] = {SIGINT, SIGTERM, SIGHUP};
std::atomic<int> writeEnd = -1;

/// A second signal finds the default handling again, for a process that does not get to its events any more.
void handle(int number)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(writeEnd, &byte, 1);
    std::signal(number, SIG_DFL);
}

} // namespace

QuitSignals::QuitSignals()
{
    if (::pipe2(m_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    writeEnd = m_pipe[1];
    m_notifier = std::make_unique<QSocketNotifier>(m_pipe[0], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
        char byte = 0;
        if (::read(m_pipe[0], &byte, 1) == 1)
            Q_EMIT received();
    });
    for (const int number : signalNumbers)
        std::signal(number, handle);
}

QuitSignals::~QuitSignals()
{
    for (const int number : signalNumbers)
        std::signal(number, SIG_DFL);
    m_notifier.reset();
    ::close(m_pipe[0]);
    ::close(m_pipe[1]);
}

} // namespace kelmo
