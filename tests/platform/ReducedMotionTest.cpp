#include "platform/ReducedMotion.h"

#include "tests/platform/FakeSettingsPortal.h"
#include "tests/platform/PrivateBus.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <gtest/gtest.h>

using namespace kelmo;

TEST(ReducedMotionTest, askTakesTheDesktopsWordEitherWay)
{
    PrivateBus* bus = PrivateBus::start();
    if (!bus)
        GTEST_SKIP() << "no message bus daemon here";
    FakeSettingsPortal portal;
    bus->offer(FakeSettingsPortal::service(), FakeSettingsPortal::path(), &portal);
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
    bus->withdraw(FakeSettingsPortal::service());
}
