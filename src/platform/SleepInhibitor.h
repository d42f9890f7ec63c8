#pragma once

#include <QString>

#include <memory>

namespace kelmo {

/// Keeps the machine from falling asleep by itself for as long as the object lives, such as during an export; the
/// user can still send it to sleep. Owned by the task it protects; main thread only, because the answers of the
/// desktop's services arrive through its event loop. Where no such service answers it does nothing.
class SleepInhibitor {
public:
    /// `reason` is what the desktop shows to a user who asks why the machine stays awake. Never waits for an answer.
    explicit SleepInhibitor(const QString& reason);
    ~SleepInhibitor();
    SleepInhibitor(const SleepInhibitor&) = delete;
    SleepInhibitor& operator=(const SleepInhibitor&) = delete;

private:
    struct Hold;
    std::shared_ptr<Hold> m_hold;
};

} // namespace kelmo
