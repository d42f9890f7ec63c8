#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <optional>
#include <vector>

namespace kelmo {

/// What every diagnostic tells about the run that it comes from.
struct DiagnosticMetaData {
    QString applicationBuildVersion;
    QString osVersion;
    QString platformArchitecture;
};

struct Diagnostic {
    QString applicationVersion;
    DiagnosticMetaData metaData;
    std::optional<QByteArray> callStackTree; ///< JSON.
};

struct CrashDiagnostic : Diagnostic {
    std::optional<int> exceptionType; ///< The kind of fault, numbered as in the usage statistics.
    std::optional<int> exceptionCode; ///< The signal's own code.
    std::optional<int> signal;
    std::optional<QString> terminationReason;
    std::optional<QString> virtualMemoryRegionInfo;
};

struct HangDiagnostic : Diagnostic {
    std::chrono::milliseconds hangDuration{0};
};

/// The diagnostics of one past run. Plain values, free to pass between threads.
struct DiagnosticPayload {
    std::vector<CrashDiagnostic> crashDiagnostics;
    std::vector<HangDiagnostic> hangDiagnostics;
};

} // namespace kelmo
