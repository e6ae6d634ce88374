#include <gtest/gtest.h>

#include "tests/support/device_limits.hpp"

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    gpuruntime::testing::storeCurrentProperties();
    return RUN_ALL_TESTS();
}
