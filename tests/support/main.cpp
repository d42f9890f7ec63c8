#include <QGuiApplication>

#include <gtest/gtest.h>

// Every test program runs inside a Qt application without a display, so that timers, sockets and images work.
int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("KELMO_ANALYTICS", "0");
    QGuiApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
