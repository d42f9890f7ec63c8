#include "platform/crash/RecordSections.h"

#include "platform/crash/MemoryMapReader.h"
#include "platform/crash/ModuleReader.h"
#include "platform/crash/RecordWriter.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <ctime>

#include <sys/syscall.h>
#include <unistd.h>

namespace kelmo {

namespace {

constexpr int durationDigits = 12;

/// The right to write a section, so that the lines of a crash are never among those of a hang. A crash waits for a hang
/// that is being written, on another thread that goes on, but not for ever. No locks: a handler of signals uses it.
class Turn {
public:
    enum class IfTaken { Leave, Wait };

    explicit Turn(IfTaken ifTaken)
    {
        constexpr timespec pause{0, 1'000'000};
        constexpr int pauses = 2'000;
        m_isOurs = take();
        for (int i = 0; i < pauses && !m_isOurs && ifTaken == IfTaken::Wait && s_owner != self(); ++i) {
            ::nanosleep(&pause, nullptr);
            m_isOurs = take();
        }
    }
    ~Turn()
    {
        if (m_isOurs)
            s_owner = 0;
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    [[nodiscard]] bool isOurs() const { return m_isOurs; }

private:
    static pid_t self() { return static_cast<pid_t>(::syscall(SYS_gettid)); }

    static bool take()
    {
        pid_t none = 0;
        return s_owner.compare_exchange_strong(none, self());
    }

    static inline std::atomic<pid_t> s_owner = 0; ///< The thread that writes; 0 while none does.
    bool m_isOurs = false;
};

// Which program or library a region belongs to, or what the system calls it. Any other file is the user's, and its name
// private.
std::string_view publicName(const MappedRegion& region)
{
    if (!region.path.starts_with('/'))
        return region.path;
    ModuleReader modules;
    LoadedModule module;
    while (modules.next(module)) {
        if (module.path == region.path)
            return region.name();
    }
    return "a file";
}

// Says which memory `address` is in or, when it is in none, which comes next.
void writeRegion(RecordWriter& record, std::uint64_t address)
{
    MemoryMapReader regions;
    MappedRegion region;
    while (regions.next(region)) {
        if (region.end <= address)
            continue;
        record.text("region ").hex(region.start).text(" ").hex(region.end);
        record.text(" ").text(region.permissions).text(" ").text(publicName(region)).endLine();
        return;
    }
}

void writeModules(RecordWriter& record)
{
    ModuleReader modules;
    LoadedModule module;
    while (modules.next(module)) {
        record.text("module ").hex(module.start).text(" ").hex(module.end).text(" ").hex(module.base);
        record.text(" ").text(module.buildID.empty() ? "-" : module.buildID).text(" ").text(module.name).endLine();
    }
}

void writeFrame(RecordWriter& record, void* address)
{
    record.text("frame ").hex(reinterpret_cast<std::uintptr_t>(address)).endLine();
}

void writeEnd(RecordWriter& record)
{
    record.text("end").endLine();
    record.flush();
}

bool hasFaultAddress(int signal, const siginfo_t& details)
{
    const bool fromTheMachine = details.si_code > 0 && details.si_code != SI_KERNEL;
    return fromTheMachine && (signal == SIGSEGV || signal == SIGBUS);
}

} // namespace

void RecordSections::writeCrash(int file, int signal, const siginfo_t& details, const void* context)
{
    const Turn turn(Turn::IfTaken::Wait);
    RecordWriter record(file);
    record.text("crash").endLine();
    record.text("signal ").decimal(signal).endLine();
    record.text("code ").decimal(details.si_code).endLine();
    if (hasFaultAddress(signal, details)) {
        const auto address = reinterpret_cast<std::uintptr_t>(details.si_addr);
        record.text("address ").hex(address).endLine();
        writeRegion(record, address);
    }
    writeModules(record);
    writeFrame(record, SignalStack::placeIn(context));
    // Walking a broken stack may fault again, which ends the process at once; what is known so far is kept.
    record.flush();
    SignalStack stack;
    stack.capture(context);
    for (size_t i = 1; i < stack.size(); ++i)
        writeFrame(record, stack.frames.at(i));
    writeEnd(record);
}

off_t RecordSections::writeHang(int file, std::int64_t durationMs, const SignalStack& stack)
{
    const Turn turn(Turn::IfTaken::Leave);
    if (!turn.isOurs())
        return 0;
    RecordWriter record(file);
    record.text("hang").endLine();
    record.text("lasted ");
    record.flush();
    const off_t durationPlace = ::lseek(file, 0, SEEK_CUR);
    record.decimal(durationMs, durationDigits).endLine();
    writeModules(record);
    for (size_t i = 0; i < stack.size(); ++i)
        writeFrame(record, stack.frames.at(i));
    writeEnd(record);
    return durationPlace;
}

void RecordSections::writeDuration(int file, off_t place, std::int64_t durationMs)
{
    std::array<char, durationDigits + 1> text{};
    std::snprintf(text.data(), text.size(), "%0*lld", durationDigits, static_cast<long long>(durationMs));
    [[maybe_unused]] const ssize_t written = ::pwrite(file, text.data(), durationDigits, place);
}

} // namespace kelmo
