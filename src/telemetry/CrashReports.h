#pragma once

#include "telemetry/DiagnosticPayload.h"

#include <QString>

#include <memory>
#include <stop_token>
#include <thread>
#include <vector>

namespace kelmo {

class CrashSource;

/// Forwards crashes and hangs of earlier runs to the usage statistics, as the events `app_crashed` and `app_hung`, and
/// has those of this run noted for the next one. Whether anything leaves the machine is decided by the same switch as
/// for usage events. Owned by the application delegate; main thread only. What is left of earlier runs is looked at
/// on a thread of its own, which the destructor ends.
class CrashReports {
public:
    CrashReports();
    ~CrashReports();
    CrashReports(const CrashReports&) = delete;
    CrashReports& operator=(const CrashReports&) = delete;

    /// From here on crashes and hangs are noted, and what earlier runs noted is delivered and removed. Returns at
    /// once. Requires: the event loop runs, and this is the first call.
    void start();

    /// Sends an event for each diagnostic. Callable from any thread.
    static void didReceive(const std::vector<DiagnosticPayload>& payloads);

private:
    static void deliverPast(const std::stop_token& stop, const QString& folder);

    std::unique_ptr<CrashSource> m_source;
    std::jthread m_delivery;
};

} // namespace kelmo
