#include "platform/crash/HangWatchdog.h"

#include "platform/crash/RecordSections.h"

#include <cerrno>
#include <csignal>
#include <ctime>

#include <pthread.h>
#include <semaphore.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace kelmo {

namespace {

// A program that keeps getting stuck has told its story.
constexpr int maxHangs = 10;
constexpr int asksInALimit = 10;

// What the main thread's handler and the watching thread share, since a signal brings no object along.
struct Sample {
    std::atomic<bool> wanted = false;
    SignalStack stack;
    sem_t ready;
};
Sample sample;

int sampleSignal() { return SIGRTMIN + 5; }

void takeSample(int /*number*/, siginfo_t* /*details*/, void* context)
{
    const int errorBefore = errno;
    if (sample.wanted.exchange(false)) {
        sample.stack.capture(context);
        ::sem_post(&sample.ready);
    }
    errno = errorBefore;
}

bool waitForSample(std::chrono::seconds time)
{
    timespec end{};
    ::clock_gettime(CLOCK_REALTIME, &end);
    end.tv_sec += time.count();
    int result = 0;
    do
        result = ::sem_timedwait(&sample.ready, &end);
    while (result != 0 && errno == EINTR);
    return result == 0;
}

// The stack of `thread`. A thread that the system holds on to, waiting for a disk for instance, has none to show.
bool sampleStack(pid_t thread)
{
    constexpr std::chrono::seconds patience{1};
    sample.wanted = true;
    ::syscall(SYS_tgkill, ::getpid(), thread, sampleSignal());
    if (waitForSample(patience))
        return true;
    return !sample.wanted.exchange(false) && waitForSample(patience);
}

} // namespace

HangWatchdog::HangWatchdog(int record, std::chrono::milliseconds limit)
    : m_record(record)
    , m_limit(limit)
    , m_mainThread(static_cast<pid_t>(::syscall(SYS_gettid)))
{
    SignalStack::prepare();
    ::sem_init(&sample.ready, 0, 0);
    struct sigaction action { };
    action.sa_sigaction = takeSample;
    action.sa_flags = SA_SIGINFO | SA_RESTART | SA_ONSTACK;
    ::sigaction(sampleSignal(), &action, nullptr);
    m_thread = std::thread([this] { run(); });
}

HangWatchdog::~HangWatchdog()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
        m_wake.notify_one();
    }
    m_thread.join();
    // Not the default handling, which would end the process if a sample that is not wanted any more is under way.
    std::signal(sampleSignal(), SIG_IGN);
    ::sem_destroy(&sample.ready);
}

void HangWatchdog::run()
{
    using std::chrono::steady_clock;
    ::pthread_setname_np(::pthread_self(), "kelmo.hangs");
    const std::chrono::milliseconds interval = m_limit / asksInALimit;
    std::chrono::milliseconds waited{0};
    steady_clock::time_point before = steady_clock::now();
    while (!stopsWithin(interval)) {
        const steady_clock::time_point now = steady_clock::now();
        waited += std::min(std::chrono::duration_cast<std::chrono::milliseconds>(now - before), 2 * interval);
        before = now;
        if (m_answered) {
            updateDuration(waited);
            m_durationPlace = 0;
            waited = std::chrono::milliseconds(0);
            ask();
            continue;
        }
        if (m_durationPlace == 0 && waited > m_limit && m_hangs < maxHangs)
            noteHang(waited);
        updateDuration(waited);
    }
}

bool HangWatchdog::stopsWithin(std::chrono::milliseconds time)
{
    std::unique_lock lock(m_mutex);
    return m_wake.wait_for(lock, time, [this] { return m_stopping; });
}

void HangWatchdog::ask()
{
    m_answered = false;
    QMetaObject::invokeMethod(
        this, [this] { m_answered = true; }, Qt::QueuedConnection);
}

void HangWatchdog::noteHang(std::chrono::milliseconds duration)
{
    ++m_hangs;
    static const SignalStack unknown{};
    const SignalStack& stack = sampleStack(m_mainThread) ? sample.stack : unknown;
    m_durationPlace = RecordSections::writeHang(m_record, duration.count(), stack);
}

void HangWatchdog::updateDuration(std::chrono::milliseconds duration)
{
    if (m_durationPlace > 0)
        RecordSections::writeDuration(m_record, m_durationPlace, duration.count());
}

} // namespace kelmo
