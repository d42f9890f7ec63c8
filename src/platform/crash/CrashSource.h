#pragma once

#include "platform/crash/CrashHandler.h"
#include "platform/crash/HangWatchdog.h"
#include "platform/crash/RecordFile.h"

namespace kelmo {

/// Where reports of crashes and hangs come from: as long as it lives, this process notes its own in a record, which a
/// later run takes. One for the process; made and destroyed on the main thread, with its event loop running.
class CrashSource {
public:
    /// Records are kept in `folder`. `version` is the program's.
    CrashSource(const QString& folder, const QString& version);

private:
    RecordFile m_record;
    CrashHandler m_handler;
    HangWatchdog m_watchdog;
};

} // namespace kelmo
