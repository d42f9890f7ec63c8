#pragma once

#include "platform/Error.h"

#include <QString>

#include <chrono>
#include <optional>

namespace kelmo {

struct EncoderChoice;
struct VideoEncoding;

/// Tries hardware encoders in a process of their own, because a driver that crashes takes its process along.
namespace EncoderProbe {

/// To be called first by the main function of a program that exports. When the command line is a question of
/// ours, answers it, and the program is to end with this status. Programs that never call this try encoders themselves.
[[nodiscard]] std::optional<int> answer(int argc, char** argv);

/// Whether `choice` encodes pictures as `encoding` asks; if not, why. Blocks for at most 10 s, and asks each question
/// once in a run. Callable from any thread but the main one.
[[nodiscard]] Result<void> prove(const EncoderChoice& choice, const VideoEncoding& encoding);

/// Puts the question to a program of one's choice.
[[nodiscard]] Result<void> ask(const QString& program, const EncoderChoice& choice, const VideoEncoding& encoding,
    std::chrono::milliseconds within);

} // namespace EncoderProbe

} // namespace kelmo
