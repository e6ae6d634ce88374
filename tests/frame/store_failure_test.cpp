// Storing properties when memory runs out. This file replaces the program's allocation functions.

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "frame/device_properties.hpp"
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

}  // namespace
}  // namespace gpuruntime::internal
