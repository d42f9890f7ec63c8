#pragma once

namespace kelmo {

/// How far a thread stays behind the main thread, which answers people and agents, when both want a processor.
enum class ThreadPriority {
    BelowUi, ///< A person or an agent waits for the work.
    FarBelowUi, ///< Not waited for: about a thirtieth of what an ordinary thread gets beside it.
};

/// Lowers the calling thread's priority, for good, and that of the threads it starts from then on, a codec's for
/// instance. What a processor has free, it gets all the same.
void lowerThreadPriority(ThreadPriority how);

} // namespace kelmo
