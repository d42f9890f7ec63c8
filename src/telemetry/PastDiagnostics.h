#pragma once

#include "platform/crash/CrashRecord.h"
#include "platform/crash/Symbolizer.h"
#include "telemetry/DiagnosticPayload.h"

namespace kelmo {

/// Turns what a past run noted into diagnostics. Reads program and library files: not for the main thread.
namespace PastDiagnostics {

[[nodiscard]] DiagnosticPayload payload(const CrashRecord& record, Symbolizer& symbolizer);

} // namespace PastDiagnostics

} // namespace kelmo
