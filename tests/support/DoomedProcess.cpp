#include "tests/support/DoomedProcess.h"

#include <QCoreApplication>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

#include <sys/resource.h>

namespace kelmo {

namespace {

constexpr char kindVariable[] = "KELMO_TEST_DOOM";

// The compiler must not see through these, or it leaves out what can only go wrong.
[[gnu::noipa]] void writeToNowhere(volatile int* nowhere) { *nowhere = 1; }

[[gnu::noipa]] int descendForEver(int depth)
{
    volatile char filling[512] = {};
    filling[0] = static_cast<char>(depth);
    if (depth < 0)
        return 0;
    const int below = descendForEver(depth + 1);
    return below + filling[0];
}

[[gnu::noipa]] int callNothing(int (*nothing)())
{
    // Something left to do, so that the call is one that returns here.
    return nothing() + 1;
}

[[gnu::noipa]] int divide(int by) { return 100 / by; }

[[gnu::noipa]] void hangForEver()
{
    for (;;)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

} // namespace

bool Doom::leftToSanitizer([[maybe_unused]] Kind kind)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return kind != Kind::Abort && kind != Kind::Hang;
#else
    return false;
#endif
}

bool Doom::isUponUs() { return qEnvironmentVariableIsSet(kindVariable); }

void Doom::meet()
{
    // No core files from deliberate crashes.
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    switch (static_cast<Kind>(qEnvironmentVariableIntValue(kindVariable))) {
    case Kind::NullWrite:
        return writeToNowhere(reinterpret_cast<int*>(16));
    case Kind::Abort:
        std::abort();
    case Kind::StackOverflow:
        std::exit(descendForEver(0));
    case Kind::NullCall:
        std::exit(callNothing(nullptr));
    case Kind::ThreadWrite:
        return std::thread([] { writeToNowhere(reinterpret_cast<int*>(16)); }).join();
    case Kind::IllegalInstruction:
        std::raise(SIGILL);
        return;
    case Kind::Division:
        std::exit(divide(0));
    case Kind::Trap:
        std::raise(SIGTRAP);
        return;
    case Kind::Hang:
        return hangForEver();
    }
}

DoomedProcess::DoomedProcess(const QString& test, Doom::Kind kind)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(kindVariable), QString::number(static_cast<int>(kind)));
    m_process.setProcessEnvironment(environment);
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.start(QCoreApplication::applicationFilePath(),
        {QStringLiteral("--gtest_also_run_disabled_tests"), QStringLiteral("--gtest_filter=") + test});
}

DoomedProcess::~DoomedProcess() { kill(); }

int DoomedProcess::waitForSignal()
{
    m_process.waitForFinished(60'000);
    return m_process.exitStatus() == QProcess::CrashExit ? m_process.exitCode() : 0;
}

void DoomedProcess::kill()
{
    m_process.kill();
    m_process.waitForFinished(60'000);
}

} // namespace kelmo
