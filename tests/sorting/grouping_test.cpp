#include <gpuruntime/grouping.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "frame/type_lists.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/test_types.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime {
namespace {

using testing::Bool;
using testing::DeviceArray;
using testing::expectSameBits;
using Flags = std::vector<Bool>;

/// Whether two values count as close, a NaN difference too.
template <class T>
bool areClose(T a, T b, double tol) {
    T const difference = std::abs(a - b);
    return !(static_cast<double>(difference) > tol);
}

template <class T>
Flags firstGroups(std::vector<T> const& data, double tol) {
    Flags flags;
    for (unsigned long i = 0; i < data.size(); ++i) {
        flags.push_back(i == 0 || std::isnan(data[i]) || !areClose(data[i], data[i - 1], tol));
    }
    return flags;
}

/// Greedily from the left: what is out of tolerance of its group's first element begins a group.
template <class T>
Flags refinedGroups(std::vector<T> const& data, double tol) {
    Flags flags = firstGroups(data, tol);
    for (unsigned long i = 0, first = 0; i < data.size(); ++i) {
        if (!flags[i] && !areClose(data[i], data[first], tol)) flags[i] = true;
        if (flags[i]) first = i;
    }
    return flags;
}

std::vector<double> startsOf(Flags const& flags) {
    std::vector<double> starts;
    for (unsigned long i = 0; i < flags.size(); ++i) {
        if (flags[i]) starts.push_back(static_cast<double>(i + 1));
    }
    return starts;
}

/// Sorts the data first, NaN at the end.
template <class T>
void expectGrouped(std::vector<T> data, double tol) {
    SCOPED_TRACE(::testing::Message() << data.size() << " values, tolerance " << tol);
    auto const numbers = std::partition(data.begin(), data.end(), [](T x) { return !std::isnan(x); });
    std::sort(data.begin(), numbers);
    DeviceArray<T> in(data);
    DeviceArray<bool> flags(data.size());
    EXPECT_EQ(cudaSuccess,
              (FindGroupsUniquetol::Invoker<T>()(nullptr, data.size(), flags.data(), in.data(), tol)));
    Flags const first = firstGroups(data, tol);
    expectSameBits(first, flags.values());
    DeviceArray<double> starts(startsOf(first));
    EXPECT_EQ(cudaSuccess,
              (RefineGroupsUniquetol::Invoker<T>()(nullptr, starts.size(), data.size(), flags.data(),
                                                   starts.data(), in.data(), tol)));
    expectSameBits(refinedGroups(data, tol), flags.values());
    expectSameBits(data, in.values());
    expectSameBits(startsOf(first), starts.values());
}

template <class T>
class GroupingOf : public ::testing::Test {};
TYPED_TEST_SUITE(GroupingOf, testing::TestTypes<internal::FloatingReal>);

TYPED_TEST(GroupingOf, OfManySizesAndTolerances) {
    for (unsigned long const n : testing::boundarySizes()) {
        auto const data = testing::mixedValues<TypeParam>(n, 9, n);
        for (double const tol : {0.0, 0.3, 2.0, 50.0, 1e6, 1e300, -1.0, double(INFINITY), double(NAN)}) {
            expectGrouped<TypeParam>(data, tol);
        }
    }
}

TYPED_TEST(GroupingOf, OfOneLongChain) {
    std::vector<TypeParam> chain;
    for (int i = 0; i < 3000; ++i) chain.push_back(static_cast<TypeParam>(i) * TypeParam(0.6));
    expectGrouped(chain, 1.0);
    expectGrouped(chain, 0.6);
    expectGrouped(chain, 100.0);
}

TYPED_TEST(GroupingOf, FoldedGridsGroupAll) {
    testing::GridLimits const limits(3);
    expectGrouped<TypeParam>(testing::randomValues<TypeParam>(5000), 0.1);
}

TYPED_TEST(GroupingOf, NaNsStandAloneAndInfinitiesTogether) {
    TypeParam const nan = NAN, inf = INFINITY;
    expectGrouped<TypeParam>({-inf, -inf, 0, inf, inf, inf, nan, nan, -nan}, 1.0);
    expectGrouped<TypeParam>({nan, nan}, 1.0);
    expectGrouped<TypeParam>({inf, inf}, 0.0);
}

/// The difference of neighbours is rounded to `T` before it is compared.
TYPED_TEST(GroupingOf, DifferencesAreOfTheType) {
    TypeParam const step = TypeParam(0.1);
    expectGrouped<TypeParam>({1, 1 + step, 1 + 2 * step}, 0.1);
}

TEST(Grouping, OfTheExamples) {
    DeviceArray<double> data({0, 0.6, 1.2, 5}), chain({0, 0.6, 1.2, 1.8, 2.4}), starts({1});
    DeviceArray<bool> flags(4), chainFlags(5);
    FindGroupsUniquetol::Invoker<double>()(nullptr, 4, flags.data(), data.data(), 1.0);
    expectSameBits(Flags{true, false, false, true}, flags.values());
    FindGroupsUniquetol::Invoker<double>()(nullptr, 5, chainFlags.data(), chain.data(), 1.0);
    expectSameBits(Flags{true, false, false, false, false}, chainFlags.values());
    RefineGroupsUniquetol::Invoker<double>()(nullptr, 1, 5, chainFlags.data(), starts.data(), chain.data(),
                                             1.0);
    expectSameBits(Flags{true, false, true, false, true}, chainFlags.values());
}

}  // namespace
}  // namespace gpuruntime
