// The stored properties and the calculators when memory runs out.

#include <gtest/gtest.h>

#include <new>

#include "frame/device_properties.hpp"
#include "frame/shape.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/failing_new.hpp"

namespace gpuruntime::internal {
namespace {

TEST(DeviceProperties, AStoreWithoutMemoryThrowsAndKeepsTheRecord) {
    gpucommon::CUDADeviceProperties properties{};
    properties.maxGridDimX = 7;
    storeCurrentDeviceProperties(properties);
    auto const* const before = getCurrentDeviceProperties();
    properties.maxGridDimX = 8;

    bool threw = false;
    try {
        gpuruntime::testing::FailingNew const outOfMemory;
        storeCurrentDeviceProperties(properties);
    } catch (std::bad_alloc const&) {
        threw = true;
    }

    EXPECT_TRUE(threw);
    EXPECT_EQ(before, getCurrentDeviceProperties());
    EXPECT_EQ(7u, getCurrentDeviceProperties()->maxGridDimX);
    gpuruntime::testing::storeCurrentProperties();
}

TEST(CalculatorsWithoutMemory, DoNotThrow) {
    cudaFuncAttributes attributes{};
    attributes.maxThreadsPerBlock = 1024;

    bool threw = false;
    try {
        gpuruntime::testing::FailingNew const outOfMemory;
        computeElementwiseShape(attributes, 1000);
        computeElementwise2DShape(attributes, attributes, 100, 50);
        computeElementwise3DShape(attributes, attributes, 10, 5, 9);
        computeFixed1DBlockShape(100, 64);
        computeFixed1DBlockAnd1DGridShape(attributes, 64, 3);
        computeFixedNumBlocksShape(attributes, 3);
        computeFixed2DBlockShape(16, 16, 16, 16);
        computeFixed2DBlockWithPagesShape(16, 16, 2, 16, 16);
    } catch (std::bad_alloc const&) {
        threw = true;
    }

    EXPECT_FALSE(threw);
}

}  // namespace
}  // namespace gpuruntime::internal
