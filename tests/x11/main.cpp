#include <QCoreApplication>

#include <gtest/gtest.h>

// The backend needs an event loop and no more: each test starts the X server that it talks to.
int main(int argc, char **argv) {
    ::testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
