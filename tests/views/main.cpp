#include <QApplication>

#include <gtest/gtest.h>

// Widgets need the larger kind of Qt application.
int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("KELMO_ANALYTICS", "0");
    QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
