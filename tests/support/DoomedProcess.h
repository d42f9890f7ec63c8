#pragma once

#include <QProcess>
#include <QString>

namespace kelmo {

/// The ways in which a process of ours can come to grief, and whether a sanitizer of this build handles them itself.
namespace Doom {

enum class Kind { NullWrite, Abort, StackOverflow, NullCall, ThreadWrite, IllegalInstruction, Division, Trap, Hang };

/// Sanitizers report faults themselves and leave only aborts and traps to the program.
[[nodiscard]] bool leftToSanitizer(Kind kind);

/// Comes to grief in the way that `DoomedProcess` asked for. Does not return, except from a hang that it ends itself.
void meet();

/// Whether this process was started by a `DoomedProcess`.
[[nodiscard]] bool isUponUs();

} // namespace Doom

/// Runs one disabled test of this test program in a process of its own, which is to call `Doom::meet`.
class DoomedProcess {
public:
    DoomedProcess(const QString& test, Doom::Kind kind);
    ~DoomedProcess();
    DoomedProcess(const DoomedProcess&) = delete;
    DoomedProcess& operator=(const DoomedProcess&) = delete;

    /// The signal that ended the process; 0 when it ended by itself or did not end.
    [[nodiscard]] int waitForSignal();

    [[nodiscard]] qint64 pid() const { return m_process.processId(); }
    void kill();

private:
    QProcess m_process;
};

} // namespace kelmo
