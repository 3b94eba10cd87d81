#include "support/rig/HidrawTestbed.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <cstdlib>
#include <unistd.h>

// The library that makes devices looks at them through the preloaded one itself, so the test process needs it
// as well as the programs that it starts.
int main(int argc, char **argv) {
    const std::string preload = companion::rig::HidrawTestbed::preload();
    const char *inForce = std::getenv("LD_PRELOAD");
    if (inForce == nullptr || preload != inForce) {
        setenv("LD_PRELOAD", preload.c_str(), 1);
        execv("/proc/self/exe", argv);
        std::perror("cannot start again");
        return 126;
    }
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
