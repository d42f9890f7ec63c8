#pragma once

#include <array>
#include <cstddef>

namespace kelmo {

/// The stack of a thread at the moment a signal met it: where it was and where each call returns to, innermost first.
struct SignalStack {
    std::array<void*, 192> frames;
    int count = 0;

    [[nodiscard]] size_t size() const { return static_cast<size_t>(count); }

    /// To be called once before any signal, because the first walk of a stack loads the library that walks it.
    static void prepare();

    /// The instruction that the signal interrupted, or null where this machine's registers are not known to us.
    /// `context` is the signal handler's third argument.
    [[nodiscard]] static void* placeIn(const void* context);

    /// For the signal handler, on the thread in question. The handler's own calls are left out.
    void capture(const void* context);
};

} // namespace kelmo
