#include "platform/ChildProcess.h"

#include <chrono>
#include <csignal>

#include <sys/prctl.h>
#include <unistd.h>

namespace kelmo {

namespace {

using namespace std::chrono_literals;

constexpr auto patience = 3s;
constexpr int lastWordsMs = 500;

} // namespace

ChildProcess::ChildProcess(QObject* parent)
    : QProcess(parent)
{
    setChildProcessModifier([owner = ::getpid()] {
        ::setpgid(0, 0);
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != owner) // It died before the kernel knew whom to watch.
            ::_exit(1);
    });
    m_patience.setSingleShot(true);
    m_patience.setInterval(patience);
    connect(&m_patience, &QTimer::timeout, this, [this] { signalGroup(SIGKILL); });
    connect(this, &QProcess::started, this, [this] { m_group = processId(); });
    connect(this, &QProcess::finished, this, [this] {
        m_patience.stop();
        signalGroup(m_stopAsked ? SIGKILL : SIGTERM);
    });
}

ChildProcess::~ChildProcess()
{
    if (state() == NotRunning)
        return;
    disconnect();
    closeReadChannel(StandardOutput); // There is no reader any more, and a full buffer must not keep it from ending.
    terminate();
    signalGroup(SIGTERM);
    // The one place that waits: the caller is ending, and a killed program could leave half a file behind.
    waitForFinished(lastWordsMs);
    signalGroup(SIGKILL);
    kill();
    waitForFinished(lastWordsMs);
}

void ChildProcess::stop()
{
    if (state() == NotRunning || m_stopAsked)
        return;
    m_stopAsked = true;
    terminate();
    signalGroup(SIGTERM);
    m_patience.start();
}

void ChildProcess::signalGroup(int number) const
{
    if (m_group > 0)
        ::kill(static_cast<pid_t>(-m_group), number);
}

} // namespace kelmo
