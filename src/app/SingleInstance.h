#pragma once

#include <QDBusConnection>
#include <QObject>

#include <optional>

namespace kelmo {

/// Sees to it that starting the program again brings the running one forward instead of a second one, through the
/// desktop's session bus. Programs that serve agents on different ports are different ones. Without a session bus every
/// start is the first. One for the process, owned by the entry point; main thread only.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    /// What to do when the program already runs: hand over to it, or run beside it.
    enum class IfRunning { HandOver, RunBeside };

    SingleInstance(quint16 port, IfRunning ifRunning);

    /// Looks for a running program and, if there is none, becomes the one that others find. Exactly one of `isFirst`
    /// and `handedOver` follows, the former also when the running one does not answer. `take` is what to open there; it
    /// must be an absolute path.
    void claim(const std::optional<QString>& take);

Q_SIGNALS:
    void isFirst();
    void handedOver();
    /// The program was started again, with an absolute path to open or none. Only after `isFirst`.
    void reopened(const std::optional<QString>& take);

private:
    void becomeFirst();
    void handOver(const std::optional<QString>& take);

    const QString m_service;
    const QString m_path;
    const IfRunning m_ifRunning;
    QDBusConnection m_bus;
    bool m_isFirst = false;
};

} // namespace kelmo
