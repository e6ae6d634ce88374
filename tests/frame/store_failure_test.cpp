// The stored properties and the calculators when memory runs out. This file replaces the program's allocation
// functions.

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "frame/device_properties.hpp"
#include "frame/shape.hpp"
#include "tests/support/device_limits.hpp"

namespace {

thread_local bool outOfMemory = false;

}  // namespace

// Not inlined: the compiler would see memory of malloc meet delete.
[[gnu::noinline]] void* operator new(std::size_t size) {
    void* const memory = outOfMemory ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace gpuruntime::internal {
namespace {

TEST(DeviceProperties, AStoreWithoutMemoryThrowsAndKeepsTheRecord) {
    gpucommon::CUDADeviceProperties properties{};
    properties.maxGridDimX = 7;
    storeCurrentDeviceProperties(properties);
    auto const* const before = getCurrentDeviceProperties();
    properties.maxGridDimX = 8;

    bool threw = false;
    outOfMemory = true;
    try {
        storeCurrentDeviceProperties(properties);
    } catch (std::bad_alloc const&) {
        threw = true;
    }
    outOfMemory = false;

    EXPECT_TRUE(threw);
    EXPECT_EQ(before, getCurrentDeviceProperties());
    EXPECT_EQ(7u, getCurrentDeviceProperties()->maxGridDimX);
    gpuruntime::testing::storeCurrentProperties();
}

TEST(CalculatorsWithoutMemory, DoNotThrow) {
    cudaFuncAttributes attributes{};
    attributes.maxThreadsPerBlock = 1024;

    bool threw = false;
    outOfMemory = true;
    try {
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
    outOfMemory = false;

    EXPECT_FALSE(threw);
}

}  // namespace
}  // namespace gpuruntime::internal
