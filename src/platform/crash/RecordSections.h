#pragma once

#include "platform/crash/SignalStack.h"

#include <csignal>
#include <cstdint>

#include <sys/types.h>

namespace kelmo {

/// Writes the sections of a crash record, which is text: each line is a word and its values. Addresses are hexadecimal,
/// all else decimal. A section begins with its kind and ends with "end"; `CrashRecord` reads it again. Paths are never
/// written, only the names of program and library files. `file` is open and stays the caller's.
namespace RecordSections {

/// To be called in the handler of `signal`, with what the handler was given. Signal-safe.
void writeCrash(int file, int signal, const siginfo_t& details, const void* context);

/// Writes a hang of the thread that was at `stack`, and returns the place in the file where its duration stands.
[[nodiscard]] off_t writeHang(int file, std::int64_t durationMs, const SignalStack& stack);

/// Puts another duration in that place.
void writeDuration(int file, off_t place, std::int64_t durationMs);

} // namespace RecordSections

} // namespace kelmo
