#include "telemetry/PastDiagnostics.h"

#include "telemetry/CallStackTree.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>

namespace kelmo {

namespace {

struct SignalKind {
    int signal;
    int exceptionType;
    const char* name;
};

// The numbers are those under which the usage statistics file the kinds of faults.
constexpr std::array<SignalKind, 6> signalKinds = {{
    {SIGSEGV, 1, "SIGSEGV"},
    {SIGBUS, 1, "SIGBUS"},
    {SIGILL, 2, "SIGILL"},
    {SIGFPE, 3, "SIGFPE"},
    {SIGTRAP, 6, "SIGTRAP"},
    {SIGABRT, 10, "SIGABRT"},
}};

QString hex(quint64 value) { return QStringLiteral("0x") + QString::number(value, 16); }

QString terminationReason(const CrashRecord::Crash& crash, const SignalKind& kind)
{
    const bool fromOutside = crash.code <= 0 && crash.signal != SIGABRT;
    const QString text
        = QString::fromLatin1(kind.name) + QStringLiteral(": ") + QString::fromLocal8Bit(::sigdescr_np(crash.signal));
    return fromOutside ? text + QStringLiteral(", sent by a process") : text;
}

QString regionText(quint64 address, const CrashRecord::Region& region)
{
    const QString permissions = region.permissions + QLatin1Char(' ');
    const QString name = region.name.isEmpty() ? QStringLiteral("without a name") : region.name;
    const QString what = permissions + name;
    if (region.start <= address)
        return QStringLiteral("%1 is %2 bytes into %3").arg(hex(address)).arg(address - region.start).arg(what);
    return QStringLiteral("%1 is in no region, %2 bytes before %3")
        .arg(hex(address))
        .arg(region.start - address)
        .arg(what);
}

Diagnostic diagnostic(const CrashRecord& record, const CrashRecord::Section& section, Symbolizer& symbolizer)
{
    return {
        record.version, {record.build, record.system, record.architecture}, CallStackTree::json(section, symbolizer)};
}

CrashDiagnostic crashDiagnostic(const CrashRecord& record, const CrashRecord::Crash& crash, Symbolizer& symbolizer)
{
    CrashDiagnostic result{diagnostic(record, crash, symbolizer), {}, crash.code, crash.signal, {}, {}};
    const auto kind = std::find_if(signalKinds.begin(), signalKinds.end(),
        [&crash](const SignalKind& candidate) { return candidate.signal == crash.signal; });
    if (kind != signalKinds.end()) {
        result.exceptionType = kind->exceptionType;
        result.terminationReason = terminationReason(crash, *kind);
    }
    if (crash.address && crash.region)
        result.virtualMemoryRegionInfo = regionText(*crash.address, *crash.region);
    return result;
}

} // namespace

DiagnosticPayload PastDiagnostics::payload(const CrashRecord& record, Symbolizer& symbolizer)
{
    DiagnosticPayload payload;
    for (const CrashRecord::Crash& crash : record.crashes)
        payload.crashDiagnostics.push_back(crashDiagnostic(record, crash, symbolizer));
    for (const CrashRecord::Hang& hang : record.hangs) {
        payload.hangDiagnostics.push_back(
            {diagnostic(record, hang, symbolizer), std::chrono::milliseconds(hang.durationMs)});
    }
    return payload;
}

} // namespace kelmo
