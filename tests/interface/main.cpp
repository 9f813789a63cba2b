#include "interface/DesktopWindow.h"

#include <QGuiApplication>

#include <gtest/gtest.h>

#include <cstdlib>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    testing::InitGoogleTest(&argc, argv);
    veskline::DesktopWindow::prepareApplication();
    const QGuiApplication application(argc, argv);
    std::quick_exit(RUN_ALL_TESTS());
}
