#include <gpuruntime/accumarray.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "frame/type_lists.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/test_types.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;
using testing::Elements;
using testing::expectSameBits;

template <class I, class T>
void expectSortedPairs(std::vector<I> keys, Elements<T> const& values) {
    DeviceArray<I> sortedKeys(keys), keysAlone(keys);
    DeviceArray<T> sortedValues(values);
    typename AccumArrayVectorSortHelper<I>::template Invoker<T>()(nullptr, sortedKeys.data(),
                                                                  sortedValues.data(), keys.size());
    typename AccumArrayScalarSortHelper<I>::Invoker()(keysAlone.data(), keys.size());
    std::vector<unsigned long> order(keys.size());
    for (unsigned long i = 0; i < order.size(); ++i) order[i] = i;
    std::stable_sort(order.begin(), order.end(),
                     [&](unsigned long a, unsigned long b) { return keys[a] < keys[b]; });
    Elements<T> expected;
    for (unsigned long const i : order) expected.push_back(values[i]);
    std::sort(keys.begin(), keys.end());
    expectSameBits(keys, sortedKeys.values());
    expectSameBits(keys, keysAlone.values());
    expectSameBits(expected, sortedValues.values());
}

template <class T>
class PairsOf : public ::testing::Test {};
TYPED_TEST_SUITE(PairsOf, testing::TestTypes<internal::FloatingWithBool>);

TYPED_TEST(PairsOf, AreSortedStably) {
    using T = TypeParam;
    for (unsigned long const n : {0ul, 1ul, 2ul, 1000ul, 70000ul}) {
        std::mt19937_64 engine(n);
        std::vector<int> narrow;
        std::vector<long> wide;
        for (unsigned long i = 0; i < n; ++i) {
            narrow.push_back(static_cast<int>(engine() % 900) - 100);
            wide.push_back(static_cast<long>(engine() % 3 == 0 ? engine() : engine() % 50));
        }
        expectSortedPairs<int, T>(narrow, testing::mixedValues<T>(n));
        expectSortedPairs<long, T>(wide, testing::mixedValues<T>(n));
    }
}

}  // namespace
}  // namespace gpuruntime
