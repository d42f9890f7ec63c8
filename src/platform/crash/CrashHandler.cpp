#include "platform/crash/CrashHandler.h"

#include "platform/crash/RecordSections.h"

#include <array>
#include <atomic>
#include <cerrno>

#include <sys/auxv.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace kelmo {

namespace {

constexpr std::array crashSignals = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP};
constexpr unsigned writeWithinSeconds = 10;

// What the handler needs, since a signal brings no object along.
std::atomic<int> recordFile = -1;
std::atomic<pid_t> owner = 0;
std::atomic<bool> crashed = false;

// A handler that gets stuck, on a disk that no longer answers for instance, must not keep a dead program on screen.
void endWithin(unsigned seconds)
{
    std::signal(SIGALRM, SIG_DFL);
    sigset_t alarm;
    ::sigemptyset(&alarm);
    ::sigaddset(&alarm, SIGALRM);
    ::pthread_sigmask(SIG_UNBLOCK, &alarm, nullptr);
    ::alarm(seconds);
}

// The signal stays blocked until the handler returns, and then meets the thread where it was.
void raiseAgain(int number, siginfo_t* details)
{
    const pid_t process = ::getpid();
    const auto thread = static_cast<pid_t>(::syscall(SYS_gettid));
    // Only the main thread may pass on the details of the crash for the core dump.
    if (::syscall(SYS_rt_tgsigqueueinfo, process, thread, number, details) != 0)
        ::syscall(SYS_tgkill, process, thread, number);
}

void handleCrash(int number, siginfo_t* details, void* context)
{
    const int errorBefore = errno;
    // A child between fork and exec has nothing to say here.
    if (owner == ::getpid()) {
        if (crashed.exchange(true)) {
            // Another thread crashed first; it ends the process once its record is written.
            for (;;)
                ::pause();
        }
        endWithin(writeWithinSeconds);
        RecordSections::writeCrash(recordFile, number, *details, context);
        ::alarm(0);
    }
    std::signal(number, SIG_DFL);
    raiseAgain(number, details);
    errno = errorBefore;
}

bool isOurs(int number)
{
    struct sigaction now { };
    return ::sigaction(number, nullptr, &now) == 0 && (now.sa_flags & SA_SIGINFO) && now.sa_sigaction == handleCrash;
}

bool isFree(int number)
{
    struct sigaction now { };
    return ::sigaction(number, nullptr, &now) == 0 && !(now.sa_flags & SA_SIGINFO) && now.sa_handler == SIG_DFL;
}

} // namespace

CrashHandler::CrashHandler(int record)
{
    SignalStack::prepare();
    recordFile = record;
    owner = ::getpid();
    struct sigaction action { };
    action.sa_sigaction = handleCrash;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    // All of them wait while one is handled, so that a second fault ends the process instead of starting over.
    ::sigemptyset(&action.sa_mask);
    for (const int number : crashSignals)
        ::sigaddset(&action.sa_mask, number);
    for (const int number : crashSignals) {
        if (isFree(number))
            ::sigaction(number, &action, nullptr);
    }
    if (isOurs(SIGSEGV))
        provideStack();
}

CrashHandler::~CrashHandler()
{
    for (const int number : crashSignals) {
        if (isOurs(number))
            std::signal(number, SIG_DFL);
    }
    owner = 0;
    if (!m_stack.empty()) {
        stack_t none{};
        none.ss_flags = SS_DISABLE;
        ::sigaltstack(&none, nullptr);
    }
}

void CrashHandler::provideStack()
{
    stack_t before{};
    if (::sigaltstack(nullptr, &before) != 0 || !(before.ss_flags & SS_DISABLE))
        return;
    // What our own handler and the stack walk need, beyond what the machine's registers take.
    constexpr size_t handlerNeeds = size_t(128) * 1024;
    m_stack.resize(handlerNeeds + ::getauxval(AT_MINSIGSTKSZ));
    stack_t own{};
    own.ss_sp = m_stack.data();
    own.ss_size = m_stack.size();
    ::sigaltstack(&own, nullptr);
}

} // namespace kelmo
