#pragma once

#include <QDBusAbstractAdaptor>
#include <QVariantMap>

#include <functional>
#include <optional>

namespace kelmo {

/// What the desktop, and a second start of the program, may ask of a running program over the session bus: the
/// interface that desktops agreed on for this. A child of the object it is offered on; main thread.
class DesktopCalls : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    using Reopen = std::function<void(const std::optional<QString>& take)>;

    /// `reopen` is called with an absolute path to open, or none.
    DesktopCalls(QObject& offeredOn, Reopen reopen);

    /// What the caller hands along so that the desktop lets the running program come forward.
    [[nodiscard]] static QVariantMap platformData();

public Q_SLOTS:
    void Activate(const QVariantMap& platformData);
    void Open(const QStringList& uris, const QVariantMap& platformData);
    void ActivateAction(const QString& name, const QVariantList& parameters, const QVariantMap& platformData);

private:
    const Reopen m_reopen;
};

} // namespace kelmo
