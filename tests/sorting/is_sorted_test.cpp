#include <gtest/gtest.h>
#include <gpuruntime/sorting.hpp>

#include "tests/sorting/reference.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/test_types.hpp"

namespace gpuruntime::testing {
namespace {

template <class T>
bool isSorted(Elements<T> const& values, CUstream_st* stream = nullptr) {
    DeviceArray<T> data(values);
    bool const verdict = IsSortedVector::Invoker<T>()(stream, data.data(), values.size());
    expectSameBits(values, data.values());
    return verdict;
}

template <class T>
bool isStronglySorted(Elements<T> const& values) {
    DeviceArray<T> data(values);
    return IsStronglySortedVector::Invoker<T>()(nullptr, data.data(), values.size());
}

/// Whether `v` may follow `u`; NaN is the largest value, and a complex value with a NaN magnitude is NaN.
template <class T>
bool mayFollow(T const& u, T const& v) {
    if constexpr (internal::isComplex<T>) {
        auto const mu = roundedHypot(u.x, u.y), mv = roundedHypot(v.x, v.y);
        if (mu < mv || mv != mv) return true;
        if (mv < mu || mu != mu) return false;
        return compareByMagnitude(u, v) <= 0;
    } else {
        return u < v || v != v || u == v;
    }
}

template <class T>
class IsSorted : public ::testing::Test {};
TYPED_TEST_SUITE(IsSorted, testing::TestTypes<internal::Ordered>);

/// Values that ascend, with NaNs last.
template <class T>
Elements<T> ascendingValues(unsigned long n) {
    Elements<T> values = mixedValues<T>(n);
    std::stable_sort(values.begin(), values.end(), [](T const& u, T const& v) {
        auto const rank = [](T const& value) { return isNaN(value); };
        return rank(u) != rank(v) ? rank(v) : !rank(u) && !mayFollow<T>(v, u);
    });
    return values;
}

TYPED_TEST(IsSorted, OnePairOutOfOrderIsFoundWhereverItIs) {
    GridLimits const folded(2);
    for (unsigned long n : {2ul, 3ul, 32ul, 33ul, 255ul, 256ul, 257ul, 513ul, 2000ul}) {
        Elements<TypeParam> values(n, TypeParam{});
        if constexpr (internal::isComplex<TypeParam>) {
            for (auto& value : values) value.x = 1;
        }
        EXPECT_TRUE(isSorted<TypeParam>(values)) << n;
        for (unsigned long position : {0ul, (n - 1) / 2, n - 2}) {
            auto broken = values;
            if constexpr (internal::isComplex<TypeParam>) {
                broken[position].x = 2;
            } else {
                broken[position] = 1;
            }
            EXPECT_FALSE(isSorted<TypeParam>(broken)) << n << " at " << position;
        }
    }
}

TYPED_TEST(IsSorted, EveryPairOfSpecialValues) {
    auto const special = specialValues<TypeParam>();
    Elements<TypeParam> pairs;
    for (auto const& u : special) {
        for (auto const& v : special) pairs.insert(pairs.end(), {u, v});
    }
    DeviceArray<TypeParam> data(pairs);
    for (unsigned long i = 0; i < pairs.size(); i += 2) {
        EXPECT_EQ(mayFollow<TypeParam>(pairs[i], pairs[i + 1]),
                  IsSortedVector::Invoker<TypeParam>()(nullptr, data.data() + i, 2))
            << ::testing::PrintToString(pairs[i]) << ", " << ::testing::PrintToString(pairs[i + 1]);
    }
}

TYPED_TEST(IsSorted, SortedSpecialAndRandomValues) {
    for (unsigned long n : boundarySizes()) {
        auto const values = ascendingValues<TypeParam>(n);
        bool expected = true;
        for (unsigned long i = 1; i < n; ++i) expected &= mayFollow<TypeParam>(values[i - 1], values[i]);
        EXPECT_EQ(expected, isSorted<TypeParam>(values)) << n;
        EXPECT_FALSE(n > 20 && isSorted<TypeParam>(mixedValues<TypeParam>(n))) << n;
    }
}

TYPED_TEST(IsSorted, NothingAndOneElementAreSorted) {
    EXPECT_TRUE(isSorted<TypeParam>({}));
    EXPECT_TRUE(isSorted<TypeParam>({TypeParam{}}));
    // A violation in the first call leaves nothing behind for the second.
    EXPECT_FALSE(isSorted<TypeParam>(mixedValues<TypeParam>(1000)));
    EXPECT_TRUE(isSorted<TypeParam>({}));
}

template <class T>
class IsStronglySorted : public ::testing::Test {};
using FloatingRealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(IsStronglySorted, FloatingRealTypes);

TYPED_TEST(IsStronglySorted, EveryPairOfSpecialValues) {
    auto const special = specialValues<TypeParam>();
    for (TypeParam u : special) {
        for (TypeParam v : special) {
            bool const expected = u < v || (u == u && v != v);
            EXPECT_EQ(expected, isStronglySorted<TypeParam>({u, v})) << u << ", " << v;
        }
    }
}

TYPED_TEST(IsStronglySorted, OnePairOutOfOrderIsFoundWhereverItIs) {
    GridLimits const folded(2);
    for (unsigned long n : {2ul, 256ul, 257ul, 2000ul}) {
        Elements<TypeParam> values(n);
        std::iota(values.begin(), values.end(), TypeParam(-3));
        EXPECT_TRUE(isStronglySorted<TypeParam>(values)) << n;
        for (unsigned long position : {0ul, (n - 1) / 2, n - 2}) {
            auto broken = values;
            broken[position] = broken[position + 1];
            EXPECT_FALSE(isStronglySorted<TypeParam>(broken)) << n << " at " << position;
        }
    }
}

TEST(IsSortedVector, NaNMayFollowAnythingAndPrecedeOnlyNaN) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    struct Case {
        std::vector<double> values;
        bool sorted, stronglySorted;
    };
    for (Case const& c :
         {Case{{}, true, true}, Case{{1}, true, true}, Case{{1, 1}, true, false}, Case{{1, nan}, true, true},
          Case{{nan, nan}, true, false}, Case{{nan, 1}, false, false}}) {
        EXPECT_EQ(c.sorted, isSorted<double>(c.values)) << ::testing::PrintToString(c.values);
        EXPECT_EQ(c.stronglySorted, isStronglySorted<double>(c.values)) << ::testing::PrintToString(c.values);
    }
}

TEST(IsSortedVector, DocumentedExamples) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(isSorted<double>({1, 2, 2, 3, nan, nan}));
    EXPECT_FALSE(isStronglySorted<double>({1, 2, 2, 3, 4, nan}));
    EXPECT_TRUE(isStronglySorted<double>({1, 2, 3, 4, 5, nan}));
}

TEST(IsSortedVector, ComplexValuesGoByMagnitudeAndThenPhase) {
    EXPECT_TRUE(isSorted<double2>({{1, 0}, {-1, 0}}));
    EXPECT_FALSE(isSorted<double2>({{-1, 0}, {1, 0}}));
    EXPECT_TRUE(isSorted<double2>({{1.3e308, 1.3e308}, {1.7e308, 1.7e308}}));
    EXPECT_FALSE(isSorted<double2>({{1.7e308, 1.7e308}, {1.3e308, 1.3e308}}));
    EXPECT_TRUE(isSorted<float2>({{2e38f, 2e38f}, {3e38f, 3e38f}}));
    EXPECT_FALSE(isSorted<float2>({{3e38f, 3e38f}, {2e38f, 2e38f}}));
}

TEST(IsSortedVector, BytesCompareInTheirOwnType) {
    EXPECT_TRUE(isSorted<signed char>({-1, 1}));
    EXPECT_FALSE(isSorted<unsigned long>({~0ul, 1}));
}

TEST(IsSortedVector, NaNBesideAnInfinityIsNoNaN) {
    double const inf = std::numeric_limits<double>::infinity();
    double const nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(isSorted<double2>({{1, 0}, {inf, nan}, {nan, 0}}));
    EXPECT_FALSE(isSorted<double2>({{nan, 0}, {inf, nan}}));
    EXPECT_FALSE(isSorted<double2>({{inf, nan}, {1, 0}}));
    // The NaN is passed over, so that the smaller part beside it is infinite as well.
    EXPECT_FALSE(isSorted<double2>({{inf, nan}, {inf, 1}}));
    EXPECT_TRUE(isSorted<double2>({{inf, 1}, {inf, nan}}));
}

template <class T>
void expectSortedBySort(bool hasNaN) {
    for (Pattern pattern : {Pattern::random, Pattern::special, Pattern::few}) {
        auto values = makeValues<T>(pattern, 3000, hasNaN);
        EXPECT_FALSE(isSorted<T>(values));
        DeviceArray<T> data(values);
        SortVector::Invoker<T>()(data.data(), nullptr, values.size(), true, hasNaN);
        EXPECT_TRUE(isSorted<T>(data.values()));
    }
}

TEST(IsSortedVector, AgreesWithTheSort) { expectSortedBySort<double2>(false); }

TEST(IsSortedVector, AgreesWithTheSortOfNaNs) { expectSortedBySort<double>(true); }

TEST(IsSortedVector, RunsOnACallersStream) {
    cudaStream_t stream;
    ASSERT_EQ(cudaSuccess, cudaStreamCreateWithFlags(&stream, cudaStreamNonBlocking));
    EXPECT_TRUE(isSorted<int>({1, 2, 2, 3}, stream));
    EXPECT_FALSE(isSorted<int>({1, 3, 2, 3}, stream));
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

}  // namespace
}  // namespace gpuruntime::testing
