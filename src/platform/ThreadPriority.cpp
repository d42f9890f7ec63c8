#include "platform/ThreadPriority.h"

#include <sys/resource.h>

namespace kelmo {

void lowerThreadPriority(ThreadPriority how)
{
    // With five steps a thread that wakes up gets its processor at once from one that computes without a pause; among
    // equals it waits for the end of a turn, or of several. An idle class would be gentler than fifteen, but on a
    // machine that encodes on all cores it would stand still for minutes.
    const int niceness = how == ThreadPriority::BelowUi ? 5 : 15;
    setpriority(PRIO_PROCESS, 0, niceness); // Linux keeps this value per thread, and 0 is the caller.
}

} // namespace kelmo
