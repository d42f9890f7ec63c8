#include <QApplication>

#include <gtest/gtest.h>

// Widgets need the larger kind of Qt application. KELMO_TEST_PLATFORM names another platform than the one without
// display.
int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    const QByteArray platform = qgetenv("KELMO_TEST_PLATFORM");
    qputenv("QT_QPA_PLATFORM", platform.isEmpty() ? "offscreen" : platform);
    qputenv("KELMO_ANALYTICS", "0");
    QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
