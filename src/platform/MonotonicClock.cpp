#include "platform/MonotonicClock.h"

#include <chrono>

namespace kelmo {

double MonotonicClock::nowMs()
{
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double, std::milli>(sinceStart).count();
}

} // namespace kelmo
