#include "platform/crash/SignalStack.h"

#include <algorithm>
#include <bit>

#include <execinfo.h>
#include <ucontext.h>

namespace kelmo {

namespace {

struct Interrupted {
    void* place; ///< The next instruction.
    void* const* caller; ///< Where a call that has only just been made keeps its return address; null if unknown.
};

Interrupted registersIn([[maybe_unused]] const void* context)
{
#if defined(__x86_64__)
    const auto& machine = static_cast<const ucontext_t*>(context)->uc_mcontext;
    return {std::bit_cast<void*>(machine.gregs[REG_RIP]), std::bit_cast<void* const*>(machine.gregs[REG_RSP])};
#elif defined(__aarch64__)
    const auto& machine = static_cast<const ucontext_t*>(context)->uc_mcontext;
    return {std::bit_cast<void*>(machine.pc), reinterpret_cast<void* const*>(&machine.regs[30])};
#else
    return {};
#endif
}

} // namespace

void SignalStack::prepare()
{
    std::array<void*, 2> frames{};
    ::backtrace(frames.data(), static_cast<int>(frames.size()));
}

void* SignalStack::placeIn(const void* context) { return registersIn(context).place; }

void SignalStack::capture(const void* context)
{
    count = ::backtrace(frames.data(), static_cast<int>(frames.size()));
    const Interrupted registers = registersIn(context);
    const auto end = frames.begin() + count;
    const auto start = std::find(frames.begin(), end, registers.place);
    if (registers.place && start != end) {
        count = static_cast<int>(std::copy(start, end, frames.begin()) - frames.begin());
    } else if (registers.caller) {
        // The walk ends at a place that holds no code, such as a null function. Its caller is known all the
        // same.
        frames[0] = registers.place;
        frames[1] = *registers.caller;
        count = 2;
    }
}

} // namespace kelmo
