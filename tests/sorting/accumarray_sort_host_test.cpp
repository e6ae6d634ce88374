// What is left when a sort of keys fails.

#include <gtest/gtest.h>
#include <gpuruntime/accumarray.hpp>
#include <host_device.hpp>

#include <algorithm>
#include <vector>

#include "tests/support/device_array.hpp"
#include "thrust.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;
using testing::expectSameBits;
using Keys = std::vector<int>;

/// Each allocation of a sort fails in turn: it throws, and the pairs are all still there.
TEST(SortFailures, OfPairsThrowAndLoseNone) {
    unsigned long const n = 70000;
    Keys keys(n);
    std::vector<double> values(n);
    for (unsigned long i = 0; i < n; ++i) {
        keys[i] = static_cast<int>(i * 7919 % 1000);
        values[i] = keys[i];
    }
    Keys ascending = keys;
    std::sort(ascending.begin(), ascending.end());
    for (unsigned int failing = 0;; ++failing) {
        DeviceArray<int> sortedKeys(keys);
        DeviceArray<double> sortedValues(values);
        hostdevice::failNextCall("cudaMalloc", cudaErrorMemoryAllocation, failing);
        bool hasThrown = false;
        try {
            AccumArrayVectorSortHelper<int>::Invoker<double>()(nullptr, sortedKeys.data(),
                                                               sortedValues.data(), n);
        } catch (thrust::system::detail::bad_alloc const&) {
            hasThrown = true;
        }
        if (hostdevice::clearFailures() != 0) {
            EXPECT_FALSE(hasThrown);
            EXPECT_GT(failing, 0u);
            break;
        }
        EXPECT_TRUE(hasThrown);
        auto leftKeys = sortedKeys.values();
        auto const leftValues = sortedValues.values();
        for (unsigned long i = 0; i < n; ++i) ASSERT_EQ(leftKeys[i], leftValues[i]) << i;
        std::sort(leftKeys.begin(), leftKeys.end());
        expectSameBits(ascending, leftKeys);
    }
}

TEST(SortFailures, OfKeysThrow) {
    DeviceArray<long> keys({3, 1, 2});
    hostdevice::failNextCall("cudaMalloc", cudaErrorMemoryAllocation);
    EXPECT_THROW(AccumArrayScalarSortHelper<long>::Invoker()(keys.data(), 3),
                 thrust::system::detail::bad_alloc);
    expectSameBits({3, 1, 2}, keys.values());
}

}  // namespace
}  // namespace gpuruntime
