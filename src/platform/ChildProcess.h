#pragma once

#include <QProcess>
#include <QTimer>

namespace kelmo {

/// A program run on the user's behalf that never outlives its purpose. It leads a process group of its own, so what it
/// has started ends with it, and the kernel kills it should this process die without a word. Started, used and
/// destroyed on the main thread.
class ChildProcess : public QProcess {
    Q_OBJECT

public:
    explicit ChildProcess(QObject* parent = nullptr);
    /// A program that still runs is asked to terminate and, after at most half a second, killed.
    ~ChildProcess() override;

    /// Asks the program to terminate. One that is still there three seconds later is killed. Returns at once.
    void stop();
    [[nodiscard]] bool stopAsked() const { return m_stopAsked; }

private:
    void signalGroup(int number) const;

    qint64 m_group = 0; ///< The process group's id once the program runs, and after it has ended.
    bool m_stopAsked = false;
    QTimer m_patience; ///< Runs out when a stop was asked for and nothing happened.
};

} // namespace kelmo
