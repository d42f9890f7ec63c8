#pragma once

#include <QObject>
#include <QSocketNotifier>

namespace kelmo {

/// Turns the signals that ask a process to end (SIGINT, SIGTERM, SIGHUP) into an ordinary event, so that ending this
/// way tidies up as quitting does. One for the process, owned by its entry point; main thread only.
class QuitSignals : public QObject {
    Q_OBJECT

public:
    QuitSignals();
    ~QuitSignals() override;

Q_SIGNALS:
    void received();

private:
    int m_pipe[2] = {-1, -1};
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace kelmo
