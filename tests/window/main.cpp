// SPDX-License-Identifier: MIT
#include <QGuiApplication>
#include <QQuickWindow>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("LC_ALL", "C"); // the log stamps its lines in the user's digits
    const QGuiApplication application(argc, argv);
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    return RUN_ALL_TESTS();
}
