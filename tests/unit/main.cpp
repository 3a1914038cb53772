// SPDX-License-Identifier: MIT
#include <QCoreApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    qputenv("LC_ALL", "C"); // the log stamps its lines in the user's digits
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
