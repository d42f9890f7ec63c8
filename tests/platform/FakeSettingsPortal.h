#pragma once

#include <QDBusVariant>
#include <QObject>

namespace kelmo {

/// Answers as a desktop's settings portal does, the value wrapped twice.
class FakeSettingsPortal : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    static QString service() { return QStringLiteral("org.freedesktop.portal.Desktop"); }
    static QString path() { return QStringLiteral("/org/freedesktop/portal/desktop"); }

    bool animations = true;
    int reads = 0;

public Q_SLOTS:
    QDBusVariant Read(const QString& group, const QString& key)
    {
        ++reads;
        const bool known
            = group == QStringLiteral("org.gnome.desktop.interface") && key == QStringLiteral("enable-animations");
        return QDBusVariant(QVariant::fromValue(QDBusVariant(known ? QVariant(animations) : QVariant())));
    }
};

} // namespace kelmo
