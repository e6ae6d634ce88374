#include <gpuruntime/accumulation.hpp>

#include <functional>

#include "tests/reduction/shapes.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"

namespace gpuruntime::testing {
namespace {

template <class T>
using MaxOfNumbers = reference::Extremum<T, 1, false>;
template <class T>
using MinOfNumbers = reference::Extremum<T, -1, false>;

template <class Family, class T>
cudaError scan(DeviceArray<T>& totals, DeviceArray<T>& data, Shape const& shape) {
    return typename Family::template Invoker<T>()(nullptr, totals.data(), data.data(), shape.numElements,
                                                  shape.reductionLength, shape.stride);
}

template <class Family, class T>
cudaError adjust(DeviceArray<T>& totals, DeviceArray<T>& data, Shape const& shape,
                 unsigned long segmentsPerGroup) {
    return typename Family::template Invoker<T>()(nullptr, totals.data(), data.data(), shape.numElements,
                                                  shape.reductionLength, segmentsPerGroup, shape.stride);
}

template <class Family, class AdjustFamily, class T, class Operator>
void expectReference() {
    for (Shape const& shape : reductionShapes()) {
        for (Elements<T> const& in : reductionInputs<T>(shape.numElements)) {
            SCOPED_TRACE(::testing::Message() << shape.numElements << " elements, length "
                                              << shape.reductionLength << ", stride " << shape.stride);
            DeviceArray<T> data(in), totals(shape.numResults());
            ASSERT_EQ(cudaSuccess, (scan<Family, T>(totals, data, shape)));
            Elements<T> expected = in;
            Elements<T> const expectedTotals = reference::scan<T, Operator>(expected, shape);
            expectSameValues(expected, data.values());
            expectSameValues(expectedTotals, totals.values());

            Elements<T> const before = data.values();
            for (unsigned long segmentsPerGroup : {1ul, 2ul, 3ul}) {
                data.set(before);
                ASSERT_EQ(cudaSuccess, (adjust<AdjustFamily, T>(totals, data, shape, segmentsPerGroup)));
                Elements<T> adjusted = before;
                reference::adjust<T, Operator>(totals.values(), adjusted, shape, segmentsPerGroup);
                expectSameValues(adjusted, data.values());
            }
            if (::testing::Test::HasFatalFailure()) return;
        }
    }
}

template <class T>
class Accumulations : public ::testing::Test {};
TYPED_TEST_SUITE(Accumulations, TestTypes<internal::All>);

TYPED_TEST(Accumulations, CumSumAndItsAdjustmentEqualTheReference) {
    expectReference<CumSum, CumSumAdjust, TypeParam, reference::Sum<TypeParam>>();
}

TYPED_TEST(Accumulations, CumProdAndItsAdjustmentEqualTheReference) {
    expectReference<CumProd, CumProdAdjust, TypeParam, reference::Prod<TypeParam>>();
}

template <class T>
class RunningExtremes : public ::testing::Test {};
TYPED_TEST_SUITE(RunningExtremes, TestTypes<internal::Ordered>);

TYPED_TEST(RunningExtremes, CumMaxAndItsAdjustmentEqualTheReference) {
    expectReference<CumMax, CumMaxAdjust, TypeParam, MaxOfNumbers<TypeParam>>();
}

TYPED_TEST(RunningExtremes, CumMinAndItsAdjustmentEqualTheReference) {
    expectReference<CumMin, CumMinAdjust, TypeParam, MinOfNumbers<TypeParam>>();
}

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

/// A scan of `in` with the given length, and what the data and the totals are afterwards.
template <class Family, class T>
void expectScan(Elements<T> const& in, unsigned long reductionLength, unsigned long stride,
                Elements<T> const& expected, Elements<T> const& expectedTotals) {
    if constexpr (internal::isBuilt<T>) {
        DeviceArray<T> data(in), totals(expectedTotals.size());
        EXPECT_EQ(cudaSuccess, (scan<Family, T>(totals, data, {in.size(), reductionLength, stride})));
        expectSameValues(expected, data.values());
        expectSameValues(expectedTotals, totals.values());
    }
}

template <class Family, class T>
void expectAdjusted(Elements<T> const& in, Elements<T> const& before, unsigned long reductionLength,
                    unsigned long segmentsPerGroup, unsigned long stride, Elements<T> const& expected) {
    DeviceArray<T> data(in), totals(before);
    EXPECT_EQ(cudaSuccess,
              (adjust<Family, T>(totals, data, {in.size(), reductionLength, stride}, segmentsPerGroup)));
    expectSameValues(expected, data.values());
    expectSameBits(before, totals.values());
}

TEST(CumSum, ScansEachSegment) {
    expectScan<CumSum, double>({1, 2, 3, 4, 5, 6}, 3, 1, {1, 3, 6, 4, 9, 15}, {6, 15});
}

TEST(CumSum, ScansAlongAStride) {
    expectScan<CumSum, double>({1, 2, 3, 4, 5, 6, 7, 8}, 2, 2, {1, 2, 4, 6, 5, 6, 12, 14}, {4, 6, 12, 14});
}

TEST(CumSum, OfSegmentsOfOneCopiesThemToTheTotals) {
    expectScan<CumSum, int>({4, 5, 6}, 1, 1, {4, 5, 6}, {4, 5, 6});
}

TEST(CumSum, TakesAShortLastSegment) {
    expectScan<CumSum, int>({1, 2, 3, 4, 5}, 3, 1, {1, 3, 6, 4, 9}, {6, 9});
}

TEST(CumSum, Saturates) {
    expectScan<CumSum, unsigned char>({200, 100, 50}, 3, 1, {200, 255, 255}, {255});
    expectScan<CumSum, unsigned char>({200, 0, 100, 0, 50, 0}, 3, 2, {200, 0, 255, 0, 255, 0}, {255, 0});
}

TEST(CumSum, FlowsNaN) { expectScan<CumSum, double>({1, nan, 2}, 3, 1, {1, nan, nan}, {nan}); }

TEST(CumSum, CarriesTheSumFromTileToTile) {
    Elements<double> const ones(257, 1.0);
    Elements<double> running;
    for (int i = 1; i <= 257; ++i) running.push_back(i);
    expectScan<CumSum, double>(ones, 257, 1, running, {257});
}

TEST(CumSum, LeavesTheFirstOfSeveralElementsAsItIs) {
    double payload;
    unsigned long const bits = 0x7ff8'0000'dead'beef;
    std::memcpy(&payload, &bits, sizeof payload);
    DeviceArray<double> data({payload, 1, -0.0, -0.0}), totals(2);
    EXPECT_EQ(cudaSuccess, (scan<CumSum, double>(totals, data, {4, 2, 1})));
    Elements<double> const values = data.values();
    EXPECT_TRUE(sameBits(payload, values[0]));
    EXPECT_TRUE(sameBits(-0.0, values[2]));
    EXPECT_TRUE(sameBits(0.0, values[3]));
}

TEST(CumProd, ScansEachSegment) {
    expectScan<CumProd, double>({1, 2, 3, 4, 5, 6}, 3, 1, {1, 2, 6, 4, 20, 120}, {6, 120});
}

TEST(CumMax, PassesOverNaNButForALeadingRun) {
    expectScan<CumMax, double>({nan, 1, nan, 0, 2}, 5, 1, {nan, 1, 1, 1, 2}, {2});
    expectScan<CumMax, double>({nan, 1, nan, 0, 2, 1}, 6, 1, {nan, 1, 1, 1, 2, 2}, {2});
    expectScan<CumMax, double>({nan, 0, nan, 0, -inf, 0}, 3, 2, {nan, 0, nan, 0, -inf, 0}, {-inf, 0});
}

// Of equal rounded magnitudes the second beats the first by its smaller part, the third the second by its
// angle, and the first the third.
TEST(CumMax, CombinesValuesWhoseOrderGoesInACircleAsTheTreeDoes) {
    float2 const a{-1e8f, 1}, b{1e8f, 2}, c{1e8f - 8, 4e4f}, small{1, 1};
    expectScan<CumMax, float2>({a, b, c, a}, 4, 1, {a, b, c, b}, {b});
    expectScan<CumMax, float2>({small, small, a, small, b, c, a, small}, 8, 1,
                               {small, small, a, a, b, a, a, a}, {a});
}

TEST(CumMax, OfLongSegmentsPassesOverNaNAndOrdersEqualMagnitudesByAngle) {
    constexpr float quiet = std::numeric_limits<float>::quiet_NaN();
    Elements<float2> in(600, float2{3, 4}), expected(600, float2{3, 4});
    in[100] = {quiet, 1};
    in[300] = {5, 0};  // of the same magnitude and a smaller angle
    in[400] = {0, 5};
    std::fill(expected.begin() + 400, expected.end(), float2{0, 5});
    in[500] = {0, 5};
    expectScan<CumMax, float2>(in, 600, 1, expected, {{0, 5}});
}

TEST(CumMin, PassesOverNaNButForALeadingRun) {
    expectScan<CumMin, double>({nan, 2, nan, 3, 1, 2}, 6, 1, {nan, 2, 2, 2, 1, 1}, {1});
}

TEST(Adjust, FoldsInTheTotalOfTheSegmentBefore) {
    expectAdjusted<CumSumAdjust, double>({1, 3, 6, 4, 9, 15}, {6, 21}, 3, 2, 1, {1, 3, 6, 10, 15, 21});
    expectAdjusted<CumProdAdjust, double>({1, 2, 6, 4, 20, 120}, {6, 720}, 3, 2, 1, {1, 2, 6, 24, 120, 720});
    expectAdjusted<CumMaxAdjust, double>({1, 5, 5, 2, 2, 7}, {5, 7}, 3, 2, 1, {1, 5, 5, 5, 5, 7});
    expectAdjusted<CumMinAdjust, double>({5, 3, 3, 4, 4, 1}, {3, 1}, 3, 2, 1, {5, 3, 3, 3, 3, 1});
}

TEST(Adjust, WithGroupsOfOneChangesNothing) {
    expectAdjusted<CumSumAdjust, int>({1, 2, 3, 4}, {3, 7}, 2, 1, 1, {1, 2, 3, 4});
    expectAdjusted<CumSumAdjust, int>({1, 2, 3, 4}, {1, 2, 3, 4}, 1, 1, 2, {1, 2, 3, 4});
}

// The guarded product of two real values takes its imaginary zero from the first.
TEST(Adjust, TakesTheElementFirstInSegmentsAndTheTotalFirstAlongAStride) {
    Elements<double2> const data{{1, 0}, {1, 0}, {2, -0.0}, {2, -0.0}};
    expectAdjusted<CumProdAdjust, double2>(data, {{3, 0}, {0, 0}}, 2, 2, 1,
                                           {{1, 0}, {1, 0}, {6, -0.0}, {6, -0.0}});
    expectAdjusted<CumProdAdjust, double2>(data, {{3, 0}, {3, 0}, {0, 0}, {0, 0}}, 1, 2, 2,
                                           {{1, 0}, {1, 0}, {6, 0}, {6, 0}});
}

/// A long dimension in pieces: their scan, the scan of the totals, the adjustment.
template <class Family, class AdjustFamily, class T>
void scanInPieces(DeviceArray<T>& data, DeviceArray<T>& totals, Shape const& pieces,
                  unsigned long segmentsPerGroup) {
    DeviceArray<T> groupTotals(totals.size() / segmentsPerGroup);
    EXPECT_EQ(cudaSuccess, (scan<Family, T>(totals, data, pieces)));
    EXPECT_EQ(cudaSuccess,
              (scan<Family, T>(groupTotals, totals, {totals.size(), segmentsPerGroup, pieces.stride})));
    EXPECT_EQ(cudaSuccess, (adjust<AdjustFamily, T>(totals, data, pieces, segmentsPerGroup)));
}

TEST(LongScan, AlongAStrideFoldsTheRunningTotalsIn) {
    DeviceArray<double> data({1, 2, 3, 4, 5, 6, 7, 8}), totals(4);
    scanInPieces<CumSum, CumSumAdjust>(data, totals, {8, 2, 2}, 2);
    expectSameBits({1, 2, 4, 6, 9, 12, 16, 20}, data.values());
    expectSameBits({4, 6, 16, 20}, totals.values());
}

/// The scan of `in` in three calls is the one of whole segments of `length`.
template <class Family, class AdjustFamily, class Combine>
void expectScanOfTheWhole(Elements<double> const& in, unsigned long length, Combine combine) {
    for (unsigned long stride : {1, 2}) {
        Elements<double> expected = in;
        for (unsigned long i = 0; i < in.size(); ++i) {
            if (i / stride % length != 0) expected[i] = combine(expected[i - stride], in[i]);
        }
        for (unsigned long pieceLength : {100, 500, 1000, 3000}) {
            SCOPED_TRACE(::testing::Message() << "stride " << stride << ", pieces of " << pieceLength);
            DeviceArray<double> data(in), totals(in.size() / pieceLength);
            scanInPieces<Family, AdjustFamily>(data, totals, {in.size(), pieceLength, stride},
                                               length / pieceLength);
            expectSameBits(expected, data.values());
        }
    }
}

// Whole numbers and powers of 2, so that no order of combination rounds.
TEST(LongScan, InThreeCallsIsTheScanOfTheWhole) {
    unsigned long const length = 6000, numColumns = 4;
    Elements<double> terms, factors;
    for (unsigned long i = 0; i < length * numColumns; ++i) {
        int const value = static_cast<int>(i * 7919 % 1000);
        terms.push_back(value - 500);
        factors.push_back(std::ldexp(value % 2 == 0 ? 1 : -1, value % 3 - 1));
    }
    expectScanOfTheWhole<CumSum, CumSumAdjust>(terms, length, std::plus<>());
    expectScanOfTheWhole<CumProd, CumProdAdjust>(factors, length, std::multiplies<>());
    expectScanOfTheWhole<CumMax, CumMaxAdjust>(terms, length,
                                               [](double a, double b) { return std::fmax(a, b); });
    expectScanOfTheWhole<CumMin, CumMinAdjust>(terms, length,
                                               [](double a, double b) { return std::fmin(a, b); });
}

TEST(Scan, OfAnEmptyArrayWritesNothing) {
    DeviceArray<double> data(4), totals(4);
    EXPECT_EQ(cudaSuccess, (scan<CumSum, double>(totals, data, {0, 4, 1})));
    EXPECT_EQ(cudaSuccess, (scan<CumSum, double>(totals, data, {0, 4, 2})));
    EXPECT_EQ(cudaSuccess, (scan<CumSum, double>(totals, data, {3, 4, 2})));
    EXPECT_EQ(cudaSuccess, (adjust<CumSumAdjust, double>(totals, data, {0, 4, 1}, 2)));
    EXPECT_EQ(cudaSuccess, (adjust<CumSumAdjust, double>(totals, data, {0, 4, 2}, 2)));
    EXPECT_TRUE(data.untouched());
    EXPECT_TRUE(totals.untouched());
}

TEST(Scan, WritesTheSameOnGridsThatFoldAndStep) {
    for (Shape const& shape : {Shape{2600, 10, 1}, Shape{1000 * 2 * 3, 2, 1000}, Shape{9 * 2 * 40, 2, 9}}) {
        Elements<double> const in = randomValues<double>(shape.numElements);
        DeviceArray<double> data(in), totals(shape.numResults());
        Elements<double> expected = in;
        {
            GridLimits const limits(7, 6);
            ASSERT_EQ(cudaSuccess, (scan<CumSum, double>(totals, data, shape)));
        }
        Elements<double> const expectedTotals =
            reference::scan<double, reference::Sum<double>>(expected, shape);
        expectSameBits(expected, data.values());
        expectSameBits(expectedTotals, totals.values());
        {
            GridLimits const limits(7, 6);
            ASSERT_EQ(cudaSuccess, (adjust<CumSumAdjust, double>(totals, data, shape, 3)));
        }
        reference::adjust<double, reference::Sum<double>>(expectedTotals, expected, shape, 3);
        expectSameBits(expected, data.values());
    }
}

/// With both dimensions stepped a launch visits a diagonal of tiles only, and nothing else is written.
TEST(Scan, SteppedInBothDimensionsWritesADiagonal) {
    unsigned long const stride = 128 * 8, outer = 8;
    Shape const shape{stride * 2 * outer, 2, stride};
    Elements<double> const ones(shape.numElements, 1.0), before(shape.numResults(), -1.0);
    DeviceArray<double> data(ones), totals(before), adjusted(ones), earlier(before);
    {
        GridLimits const limits(2, 2);
        ASSERT_EQ(cudaSuccess, (scan<CumSum, double>(totals, data, shape)));
        ASSERT_EQ(cudaSuccess, (adjust<CumSumAdjust, double>(earlier, adjusted, shape, 2)));
    }
    Elements<double> expected = ones, expectedTotals = before, expectedAdjusted = ones;
    for (unsigned long r = 0; r < shape.numResults(); ++r) {
        if (!onDiagonal(r % stride, r / stride, 128)) continue;
        expected[shape.index(r, 1)] = expectedTotals[r] = 2;
        if (r / stride % 2 == 0) continue;  // the first slice of a group
        for (unsigned long k : {0, 1}) expectedAdjusted[shape.index(r, k)] = 0;
    }
    expectSameBits(expected, data.values());
    expectSameBits(expectedTotals, totals.values());
    expectSameBits(expectedAdjusted, adjusted.values());
}

}  // namespace
}  // namespace gpuruntime::testing
