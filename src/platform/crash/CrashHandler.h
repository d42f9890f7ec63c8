#pragma once

#include <csignal>
#include <cstddef>
#include <vector>

namespace kelmo {

/// Writes a section into the record when the process crashes, and lets the crash take its course: the signal is
/// raised again with its former handling, so that a core dump shows the crash and nothing of ours. A signal that
/// has a handler already, as with sanitizers, keeps it. One for the process; made and destroyed on the main
/// thread, which gets a second stack to handle a crash on when its own has overflowed. Other threads have none.
class CrashHandler {
public:
    /// `record` stays open, and stays the caller's, for as long as the handler lives.
    explicit CrashHandler(int record);
    ~CrashHandler();
    CrashHandler(const CrashHandler&) = delete;
    CrashHandler& operator=(const CrashHandler&) = delete;

private:
    void provideStack();

    std::vector<std::byte> m_stack;
};

} // namespace kelmo
