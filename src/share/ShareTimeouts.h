#pragma once

#include <chrono>

namespace kelmo {

/// How long sharing waits where it waits. A plain value; tests that fail requests by the thousand wait less.
struct ShareTimeouts {
    std::chrono::milliseconds requestTimeout{120'000}; ///< Without progress in sending, then for the whole answer.
    std::chrono::milliseconds retryWait{700}; ///< After a part's first failure; twice that after the second.
    std::chrono::milliseconds exportTick{250}; ///< Between two looks at how far the export is.
    std::chrono::milliseconds exportReports{700}; ///< At least that long between two reports of it.
    std::chrono::milliseconds lastReport{2'000}; ///< What reports under way may hold up the step after them.
};

} // namespace kelmo
