#include "platform/crash/RecordSections.h"

#include "platform/crash/CrashRecord.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <ucontext.h>
#include <unistd.h>

using namespace kelmo;

namespace {

/// A file that takes a section only as fast as it is read, so that one can be caught half written.
class NarrowPipe {
public:
    NarrowPipe()
    {
        EXPECT_EQ(::pipe2(m_ends, O_CLOEXEC), 0);
        m_capacity = ::fcntl(m_ends[1], F_SETPIPE_SZ, 4096);
    }
    ~NarrowPipe() { ::close(m_ends[0]); }

    [[nodiscard]] int in() const { return m_ends[1]; }
    void closeIn() { ::close(m_ends[1]); }

    void waitUntilFull() const
    {
        // Full for a section that is put down in pieces of a kilobyte.
        for (int size = 0; size + 1024 <= m_capacity; ::ioctl(m_ends[0], FIONREAD, &size))
            std::this_thread::yield();
    }

    /// A little of what was written; empty once the other end is closed.
    [[nodiscard]] QByteArray read() const
    {
        QByteArray some(512, '\0');
        some.truncate(std::max<ssize_t>(0, ::read(m_ends[0], some.data(), size_t(some.size()))));
        return some;
    }

private:
    int m_ends[2] = {-1, -1};
    int m_capacity = 0;
};

} // namespace

TEST(RecordSections, crashWhileAHangIsNotedKeepsBothWhole)
{
    NarrowPipe pipe;
    static const SignalStack unknown{};
    std::thread hanging(
        [&] { [[maybe_unused]] const off_t place = RecordSections::writeHang(pipe.in(), 6000, unknown); });
    pipe.waitUntilFull();
    std::atomic<bool> crashing = false;
    std::thread crashed([&] {
        ucontext_t context{};
        ::getcontext(&context);
        siginfo_t details{};
        details.si_code = SI_TKILL;
        crashing = true;
        RecordSections::writeCrash(pipe.in(), SIGABRT, details, &context);
    });
    while (!crashing)
        std::this_thread::yield();
    std::thread closing([&] {
        hanging.join();
        crashed.join();
        pipe.closeIn();
    });
    QByteArray record = "version 1\n";
    for (QByteArray some = pipe.read(); !some.isEmpty(); some = pipe.read())
        record += some;
    closing.join();
    EXPECT_EQ(record.count("\nhang\n"), 1);
    EXPECT_EQ(record.count("\nend\n"), 2);
    const qsizetype hangEnds = record.indexOf("\nend\n");
    EXPECT_EQ(record.indexOf("\ncrash\n"), hangEnds + 4) << "not a line of the crash is inside the hang";
    const CrashRecord read = CrashRecord::parse(record);
    ASSERT_EQ(read.hangs.size(), 1U);
    ASSERT_EQ(read.crashes.size(), 1U);
    EXPECT_EQ(read.hangs[0].durationMs, 6000);
    EXPECT_EQ(read.crashes[0].signal, SIGABRT);
    EXPECT_EQ(read.hangs[0].modules.size(), read.crashes[0].modules.size());
    EXPECT_FALSE(read.crashes[0].frames.empty());
}
