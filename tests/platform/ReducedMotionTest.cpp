#include "platform/ReducedMotion.h"

#include "tests/platform/PrivateBus.h"

#include <QCoreApplication>
#include <QDBusVariant>
#include <QElapsedTimer>
#include <QObject>

#include <gtest/gtest.h>

using namespace kelmo;

/// Answers as a desktop's settings portal does, the value wrapped twice.
class FakeSettingsPortal : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
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

TEST(ReducedMotionTest, askTakesTheDesktopsWordEitherWay)
{
    PrivateBus* bus = PrivateBus::start();
    if (!bus)
        GTEST_SKIP() << "no message bus daemon here";
    FakeSettingsPortal portal;
    const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
    bus->offer(service, QStringLiteral("/org/freedesktop/portal/desktop"), &portal);
    EXPECT_FALSE(ReducedMotion::asked());
    for (const bool animations : {false, true}) {
        portal.animations = animations;
        ReducedMotion::ask();
        QElapsedTimer timer;
        timer.start();
        while (ReducedMotion::asked() == animations && timer.elapsed() < 5000)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        EXPECT_EQ(ReducedMotion::asked(), !animations);
    }
    EXPECT_EQ(portal.reads, 2);
    bus->withdraw(service);
}

#include "ReducedMotionTest.moc"
