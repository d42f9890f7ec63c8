#include "platform/BackgroundPriority.h"

#include <sys/resource.h>

namespace kelmo {

void enterBackgroundPriority()
{
    constexpr int niceness = 15; // A thirtieth of what an ordinary thread gets beside it.
    // Linux keeps this value per thread, and 0 is the caller. An idle class would be gentler still, but on a machine
    // that encodes on all cores it would stand still for minutes.
    setpriority(PRIO_PROCESS, 0, niceness);
}

} // namespace kelmo
