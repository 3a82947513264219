#include <QGuiApplication>

#include <gtest/gtest.h>

// For suites that paint or lay out text: a GUI application on the offscreen platform.
int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
