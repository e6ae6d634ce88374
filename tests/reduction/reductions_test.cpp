#include <gpuruntime/reductions.hpp>

#include <utility>

#include "tests/reduction/shapes.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"

namespace gpuruntime::testing {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double huge = std::numeric_limits<double>::max();

/// What `Family` gives for contiguous segments, or for `stride`.
template <class Family, class TOut, class T>
Elements<TOut> reduced(Elements<T> const& in, unsigned long reductionLength, bool includeNaN = true,
                       unsigned long stride = 1) {
    Shape const shape{in.size(), reductionLength, stride};
    DeviceArray<T> input(in);
    DeviceArray<TOut> out(shape.numResults());
    EXPECT_EQ(cudaSuccess,
              typename Family::template Invoker<T>()(nullptr, out.data(), input.data(), shape.numElements,
                                                     reductionLength, stride, includeNaN));
    return out.values();
}

template <class Family, class TOut, class T>
void expectReduced(Elements<TOut> const& expected, Elements<T> const& in, unsigned long reductionLength,
                   bool includeNaN = true, unsigned long stride = 1) {
    if constexpr (internal::isBuilt<T>) {
        expectSameValues(expected, reduced<Family, TOut, T>(in, reductionLength, includeNaN, stride));
    }
}

/// The same for a single segment, in the element type.
template <class Family, class T>
void expectFolded(T expected, Elements<T> const& segment) {
    expectReduced<Family, T, T>({expected}, segment, segment.size());
}

template <class Family, class TOut, class T>
void expectFlags(Elements<TOut> const& expected, Elements<T> const& in, unsigned long reductionLength) {
    DeviceArray<T> input(in);
    DeviceArray<TOut> out(expected.size());
    EXPECT_EQ(cudaSuccess, typename Family::template Invoker<T>()(nullptr, out.data(), input.data(),
                                                                  in.size(), reductionLength));
    expectSameValues(expected, out.values());
}

template <class Family, class T>
void expectLocated(Elements<T> const& expected, Elements<double> const& positions, Elements<T> const& in,
                   unsigned long reductionLength, bool includeNaN, unsigned long segmentsPerGroup = 1,
                   unsigned long stride = 1) {
    DeviceArray<T> input(in), out(expected.size());
    DeviceArray<double> outIndex(expected.size());
    EXPECT_EQ(cudaSuccess, typename Family::template Invoker<T>()(nullptr, out.data(), outIndex.data(),
                                                                  input.data(), in.size(), reductionLength,
                                                                  segmentsPerGroup, stride, includeNaN));
    expectSameValues(expected, out.values());
    expectSameBits(positions, outIndex.values());
}

/// The elements of all segments one behind another: each starts as given and goes on with zeros up to
/// `length`.
template <class T>
Elements<T> padded(std::vector<Elements<T>> const& segments, unsigned long length) {
    Elements<T> result;
    for (Elements<T> segment : segments) {
        segment.resize(length, T{});
        result.insert(result.end(), segment.begin(), segment.end());
    }
    return result;
}

/// A segment of `rest`, but for a few values.
template <class T>
Elements<T> placed(unsigned long length, T rest, std::vector<std::pair<unsigned long, T>> const& values) {
    Elements<T> segment(length, rest);
    for (auto const& [position, value] : values) segment[position] = value;
    return segment;
}

// 2^53 swallows a 1, and a saturated or infinite result forgets what went past its range, so the outcome
// tells which operands met first: here those at 0 and `d`, before the one at 2 `d`.
TEST(LongSegments, FoldNeighboursFirst) {
    for (unsigned long d : {1, 2, 4, 8, 16}) {
        SCOPED_TRACE(d);
        expectFolded<SumNative, double>(1, placed<double>(256, 0, {{0, 0x1p53}, {d, -0x1p53}, {2 * d, 1}}));
        expectFolded<SumNative, signed char>(
            27, placed<signed char>(256, 0, {{0, 100}, {d, 100}, {2 * d, -100}}));
        expectFolded<ProdNative, signed char>(-127,
                                              placed<signed char>(256, 1, {{0, 100}, {d, 100}, {2 * d, -1}}));
        expectFolded<ProdNative, float>(
            INFINITY, placed<float>(256, 1, {{0, 0x1p100}, {d, 0x1p100}, {2 * d, 0x1p-100}}));
        expectFolded<ProdNative, double2>(
            {inf, 0},
            placed<double2>(256, {1, 0}, {{0, {0x1p600, 0}}, {d, {0x1p600, 0}}, {2 * d, {0x1p-600, 0}}}));
    }
}

TEST(LongSegments, FoldRunsOf32InTheirOrder) {
    expectFolded<SumNative, double>(0x1p53, placed<double>(256, 0, {{0, 0x1p53}, {32, 1}, {64, 1}, {96, 1}}));
    expectFolded<SumNative, signed char>(
        -73, placed<signed char>(256, 0, {{0, 100}, {32, 100}, {64, -100}, {96, -100}}));
    expectFolded<ProdNative, signed char>(-128,
                                          placed<signed char>(256, 1, {{32, -1}, {64, 100}, {96, 100}}));
    expectFolded<ProdNative, float>(0x1p100,
                                    placed<float>(256, 1, {{32, 0x1p-100}, {64, 0x1p100}, {96, 0x1p100}}));
    expectFolded<ProdNative, double2>(
        {0x1p600, 0},
        placed<double2>(256, {1, 0}, {{32, {0x1p-600, 0}}, {64, {0x1p600, 0}}, {96, {0x1p600, 0}}}));
}

TEST(LongSegments, CombineElements256ApartBeforeTheyFold) {
    expectFolded<SumNative, double>(1, placed<double>(512, 0, {{0, 0x1p53}, {1, 1}, {256, -0x1p53}}));
    expectFolded<SumNative, double>(1, placed<double>(768, 0, {{0, 0x1p53}, {256, -0x1p53}, {512, 1}}));
}

TEST(ShortSegments, FoldHalvesFirst) {
    expectFolded<SumNative, double>(1, {0x1p53, 1, -0x1p53, 0});
    expectFolded<SumNative, signed char>(100, {100, 100, -100, 0});
}

TEST(StridedSegments, CombineOneAfterAnother) {
    expectReduced<SumNative, signed char, signed char>({27, 27}, {100, 100, 100, 100, -100, -100}, 3, true,
                                                       2);
}

TEST(SumNative, OmitsNaNOrLetsItFlow) {
    expectReduced<SumNative, double, double>({3, 15}, {1, nan, 2, 4, 5, 6}, 3, false);
    expectReduced<SumNative, double, double>({nan, 15}, {1, nan, 2, 4, 5, 6}, 3, true);
    expectReduced<SumNative, double2, double2>({{1, 2}}, {{1, 2}, {nan, 5}, {7, nan}}, 3, false);
}

TEST(SumNative, SumsAlongAStride) {
    expectReduced<SumNative, double, double>({4, 6, 12, 14}, {1, 2, 3, 4, 5, 6, 7, 8}, 2, true, 2);
}

TEST(SumNative, TakesAShortLastSegment) {
    expectReduced<SumNative, int, int>({6, 9}, {1, 2, 3, 4, 5}, 3);
    Elements<int> const ones(300, 1);
    expectReduced<SumNative, int, int>({200, 100}, ones, 200);
}

TEST(SumNative, SaturatesRealIntegersAndWrapsPairs) {
    expectReduced<SumNative, signed char, signed char>({127, -128}, {100, 100, -100, -100}, 2);
    expectReduced<SumNative, unsigned char, unsigned char>({255}, {200, 100}, 2);
    expectReduced<SumNative, int, int>({2147483647, -2147483647 - 1}, {2147483647, 1, -2147483647, -2}, 2);
    long const highest = std::numeric_limits<long>::max(), lowest = std::numeric_limits<long>::min();
    expectReduced<SumNative, long, long>({highest, lowest, -1}, {highest, 1, lowest, -1, highest, lowest}, 2);
    expectReduced<SumNative, unsigned long, unsigned long>({~0ul, ~0ul}, {~0ul, 1, ~0ul - 1, 1}, 2);
    expectReduced<SumNative, char2, char2>({{-56, 0}}, {{100, 0}, {100, 0}}, 2);
}

TEST(SumNative, OfBoolIsALogicalOr) {
    expectReduced<SumNative, bool, bool>({false, true}, {false, false, true, true}, 2);
}

// A thread without an element brings in the identity, +0.
TEST(SumNative, OfNegativeZerosIsNegativeZeroOnlyWhereEveryThreadHasAnElement) {
    auto const zeros = [](unsigned long n) { return Elements<double>(n, -0.0); };
    EXPECT_TRUE(sameBits(-0.0, reduced<SumNative, double, double>(zeros(1), 1)[0]));
    EXPECT_TRUE(sameBits(0.0, reduced<SumNative, double, double>(zeros(3), 3)[0]));
    EXPECT_TRUE(sameBits(-0.0, reduced<SumNative, double, double>(zeros(4), 4)[0]));
    EXPECT_TRUE(sameBits(0.0, reduced<SumNative, double, double>(zeros(129), 129)[0]));
    EXPECT_TRUE(sameBits(-0.0, reduced<SumNative, double, double>(zeros(256), 256)[0]));
    EXPECT_TRUE(sameBits(-0.0, reduced<SumNative, double, double>(zeros(6), 3, true, 2)[0]));
}

TEST(SumAsDouble, DoesNotSaturate) {
    expectReduced<SumAsDouble, double, unsigned char>({350, 24}, {200, 100, 50, 7, 8, 9}, 3);
    expectReduced<SumAsDouble, double, bool>({2}, {true, false, true}, 3);
    expectReduced<SumAsDouble, double2, char2>({{200, -200}}, {{100, -100}, {100, -100}}, 2);
}

TEST(SumAsDouble, OmitsNaNBeforeTheCast) {
    expectReduced<SumAsDouble, double, float>({3}, {1, NAN, 2}, 3, false);
}

TEST(ProdNative, SaturatesUpTo32BitsAndWrapsOtherwise) {
    expectReduced<ProdNative, int, int>({2147483647, 24}, {65536, 65536, 1, 2, 3, 4}, 3);
    expectReduced<ProdNative, int, int>({-2147483647 - 1}, {65536, -65536}, 2);
    expectReduced<ProdNative, unsigned int, unsigned int>({4294967295u}, {65536, 65536}, 2);
    expectReduced<ProdNative, unsigned short, unsigned short>({65535}, {65535, 65535}, 2);
    expectReduced<ProdNative, long, long>({0}, {1l << 32, 1l << 32}, 2);
    expectReduced<ProdNative, char2, char2>({{74, 84}}, {{20, 10}, {20, 7}}, 2);
}

TEST(ProdNative, OmitsAComplexElementWithNaNWholly) {
    expectReduced<ProdNative, double2, double2>({{2, 3}}, {{nan, 1}, {2, 3}}, 2, false);
    expectReduced<ProdNative, double, double>({6}, {2, nan, 3}, 3, false);
    expectReduced<ProdNative, double, double>({nan}, {2, nan, 3}, 3, true);
}

TEST(ProdNative, KeepsComplexInfinities) {
    expectReduced<ProdNative, double2, double2>({{inf, inf}}, {{inf, inf}, {1, 0}}, 2);
}

// The product of two real values takes its imaginary zero from the first.
TEST(ProdNative, CombinesTheEarlierElementWithTheLater) {
    for (unsigned long length : {2, 3, 128, 129, 256, 257, 1000}) {
        SCOPED_TRACE(length);
        expectFolded<ProdNative, double2>({1, -0.0}, placed<double2>(length, {1, 0}, {{0, {1, -0.0}}}));
        expectFolded<ProdNative, double2>({1, 0}, placed<double2>(length, {1, -0.0}, {{0, {1, 0}}}));
    }
    expectReduced<ProdNative, double2, double2>({{1, -0.0}, {1, -0.0}},
                                                {{1, -0.0}, {1, -0.0}, {1, 0}, {1, 0}}, 2, true, 2);
}

TEST(ProdAsDouble, DoesNotSaturate) {
    expectReduced<ProdAsDouble, double, signed char>({1000000, -6}, {100, 100, 100, -1, 2, 3}, 3);
}

TEST(All, TakesNaNForTrue) {
    expectReduced<All, bool, double>({true, false}, {1, 2, nan, 4, 0, 6}, 3);
    expectReduced<All, bool, double>({true}, {nan}, 1);
    expectReduced<All, bool, double2>({true, false}, {{0, 1}, {nan, 0}, {0, 1}, {0, 0}}, 2);
}

TEST(Any, TakesNaNForFalse) {
    expectReduced<Any, bool, double>({false, true}, {0, 0, nan, 0, 5, 0}, 3);
    expectReduced<Any, bool, double>({false}, {nan}, 1);
    expectReduced<Any, bool, double2>({false, true}, {{1, nan}, {0, 0}, {0, 1}, {0, 0}}, 2);
}

TEST(CountNonZero, CountsNaN) {
    expectFlags<CountNonZero, double, double>({2, 1}, {0, 1, nan, 0, 0, 2}, 3);
    expectFlags<CountNonZero, double, double2>({2}, {{0, 0}, {0, 1}, {nan, 0}}, 3);
}

TEST(HasFlags, TellSegmentsApart) {
    expectFlags<HasInf, bool, double>({true, false}, {1, -inf, nan, 4, nan, 6}, 3);
    expectFlags<HasNaN, bool, double>({false, true}, {1, -inf, 3, 4, nan, 6}, 3);
    expectFlags<HasNaN, bool, double2>({true}, {{1, nan}}, 1);
    expectFlags<HasNaNOrInf, bool, double>({false, true}, {1, 2, 3, 4, nan, 6}, 3);
}

TEST(Max, IsNaNOnlyIfAllAreOrIfNaNCounts) {
    expectReduced<Max, double, double>({7, 6}, {3, 7, nan, 4, 6, 5}, 3, false);
    expectReduced<Max, double, double>({nan, 6}, {3, 7, nan, 4, 6, 5}, 3, true);
    expectReduced<Max, double, double>({nan}, {nan, nan, nan}, 3, false);
    expectReduced<Min, double, double>({3, 4}, {3, 7, nan, 4, 6, 5}, 3, false);
    expectReduced<Min, double, double>({nan, 4}, {3, 7, nan, 4, 6, 5}, 3, true);
}

TEST(Max, ThatKeepsNaNTakesTheLaterOfTwoZeros) {
    for (unsigned long length : {2, 4, 128, 129, 256, 512}) {
        SCOPED_TRACE(length);
        Elements<double> const zeros = placed<double>(length, 0, {{length - 1, -0.0}});
        expectFolded<Max, double>(-0.0, zeros);
        expectFolded<Min, double>(-0.0, zeros);
    }
}

TEST(Max, OfIntegersIsTheSameInBothModes) {
    for (bool includeNaN : {true, false}) {
        expectReduced<Min, int, int>({-7, 2}, {5, -7, 3, 2, 9, 4}, 3, includeNaN);
        expectReduced<Max, bool, bool>({true, false}, {false, true, false, false}, 2, includeNaN);
    }
}

TEST(Max, RanksEqualMagnitudesByAngle) {
    expectReduced<Max, double2, double2>({{0, 1}}, {{1, 0}, {0, 1}}, 2, false);
    expectReduced<Min, double2, double2>({{1, 0}}, {{0, 1}, {1, 0}}, 2, false);
    expectReduced<Max, double2, double2>({{-5, 0}}, {{3, 4}, {-5, 0}, {-5, -0.0}, {4, 3}}, 4, false);
    expectReduced<Min, double2, double2>({{-5, -0.0}}, {{3, 4}, {-5, 0}, {-5, -0.0}, {4, 3}}, 4, false);
}

TEST(Max, TellsMagnitudesApartThatOnlyOverflow) {
    expectReduced<Max, double2, double2>({{huge, huge}}, {{huge, huge}, {huge, huge * 0.9}}, 2, false);
    expectReduced<Max, double2, double2>({{huge, huge}}, {{huge, huge * 0.9}, {huge, huge}}, 2, false);
    expectReduced<Min, double2, double2>({{huge, huge}}, {{-inf, 0}, {huge, huge}}, 2, false);
}

TEST(Max, TellsMagnitudesApartThatOnlyRoundAlike) {
    expectReduced<Max, double2, double2>({{1, 1e-20}}, {{-1, 0}, {1, 1e-20}}, 2, false);
    expectReduced<Min, double2, double2>({{-1, 0}}, {{1, 1e-20}, {-1, 0}}, 2, false);
}

// An infinite part makes the magnitude infinite even beside a NaN, so the value is no NaN here.
TEST(Max, TakesAnInfinityBesideANaNForANumber) {
    expectReduced<Max, double2, double2>({{inf, nan}}, {{1, 1}, {inf, nan}, {nan, 1}}, 3, false);
    expectReduced<Max, double2, double2>({{nan, 1}}, {{1, 1}, {inf, nan}, {nan, 1}}, 3, true);
}

TEST(Max, OfComplexValuesIsNotTouchedByThreadsWithoutAnElement) {
    expectReduced<Max, double2, double2>({{1, 1}}, {{1, 1}, {0, 0}, {-1, 0}}, 3, true);
    expectReduced<Max, double2, double2>({{-0.0, 0}}, {{-0.0, 0}, {0, 0}, {0, 0}}, 3, true);
    expectReduced<Min, double2, double2>({{-inf, inf}}, {{-inf, inf}, {-inf, inf}, {-inf, inf}}, 3, true);
    expectReduced<Min, double2, double2>({{inf, inf}}, {{inf, inf}, {-inf, inf}, {-inf, inf}}, 3, true);
    Elements<double2> const zeros(129, {0, 0}), infinities(129, {inf, inf});
    expectReduced<Max, double2, double2>({{0, 0}}, zeros, 129, true);
    expectReduced<Min, double2, double2>({{inf, inf}}, infinities, 129, true);
}

TEST(MaxWithIndex, ReportsTheFirstOfEqualValuesFromOne) {
    expectLocated<MaxWithIndex, double>({7, 1}, {2, 2}, {3, 7, 7, nan, 1, 0}, 3, false);
    expectLocated<MaxWithIndex, double>({7, nan}, {2, 1}, {3, 7, 7, nan, 1, 0}, 3, true);
    expectLocated<MinWithIndex, double>({1, 0}, {2, 3}, {3, 1, 1, nan, 1, 0}, 3, false);
    expectLocated<MinWithIndex, double>({1, nan}, {2, 1}, {3, 1, 1, nan, 1, 0}, 3, true);
    expectLocated<MaxWithIndex, double>({-0.0}, {1}, {-0.0, 0.0}, 2, false);
    expectLocated<MaxWithIndex, double2>({{0, 1}}, {2}, {{1, 0}, {0, 1}, {0, 1}}, 3, false);
}

TEST(MaxWithIndex, OfNaNAloneReportsTheFirst) {
    for (unsigned long length : {3, 128, 129, 700}) {
        Elements<double> const nans(length, nan);
        expectLocated<MaxWithIndex, double>({nan}, {1}, nans, length, false);
        expectLocated<MinWithIndex, double>({nan}, {1}, nans, length, true);
    }
}

TEST(MaxWithIndex, ReportsTheFirstOfEqualValuesAcrossThreads) {
    for (unsigned long length : {100, 129, 1000}) {
        Elements<float> in(length, 1.0f);
        in[length - 1] = in[length / 2] = in[length / 3] = 5.0f;
        expectLocated<MaxWithIndex, float>({5}, {static_cast<double>(length / 3 + 1)}, in, length, false);
    }
}

TEST(MaxWithIndex, CountsPositionsFromTheStartOfAGroup) {
    Elements<double> const in = padded<double>({{0, 9}, {0, 0, 9}, {9}, {0, 9}}, 129);
    expectLocated<MaxWithIndex, double>({9, 9, 9, 9}, {2, 132, 1, 131}, in, 129, false, 2);
    expectLocated<MaxWithIndex, double>({9, 9, 9, 9}, {2, 3, 1, 2}, in, 129, false, 1);
    expectLocated<MaxWithIndex, double>({2, 4, 6, 8}, {2, 2, 4, 4}, {1, 2, 2, 4, 3, 3, 6, 8}, 2, false, 2, 2);
}

TEST(MaxWithIndex, OfShortSegmentsDoesNotReadTheGroup) {
    expectLocated<MaxWithIndex, double>({9, 9}, {2, 1}, {0, 9, 9, 0}, 2, false, 2);
}

TEST(MaxUniqueTol, IsTheLargestFiniteMagnitude) {
    expectReduced<MaxUniqueTol, double, double>({2, 3}, {1, -2, inf, -3, nan, 2}, 3);
    expectReduced<MaxUniqueTol, double, double>({2}, {-inf, -2, nan}, 3);
}

TEST(MaxUniqueTol, OfOneElementIsTheElementAsItStands) {
    expectReduced<MaxUniqueTol, double, double>({-3, -inf, nan}, {-3, -inf, nan}, 1);
    expectReduced<MaxUniqueTol, float, float>({-3, 4}, {-3, 4}, 1, true, 2);
}

TEST(Reduction, OfAnEmptyArrayWritesNothing) {
    DeviceArray<double> in(4), out(4), outIndex(4);
    DeviceArray<bool> flags(4);
    for (unsigned long stride : {1, 2}) {
        for (unsigned long length : {0, 4, 200}) {
            EXPECT_EQ(cudaSuccess,
                      SumNative::Invoker<double>()(nullptr, out.data(), in.data(), 0, length, stride, true));
            EXPECT_EQ(cudaSuccess,
                      All::Invoker<double>()(nullptr, flags.data(), in.data(), 0, length, stride, true));
            EXPECT_EQ(cudaSuccess, MaxWithIndex::Invoker<double>()(nullptr, out.data(), outIndex.data(),
                                                                   in.data(), 0, length, 1, stride, true));
        }
    }
    EXPECT_EQ(cudaSuccess, SumNative::Invoker<double>()(nullptr, out.data(), in.data(), 4, 2, 0, true));
    EXPECT_TRUE(out.untouched());
    EXPECT_TRUE(outIndex.untouched());
    EXPECT_TRUE(flags.untouched());
}

/// Grids of at most 7 by 6 blocks, which fold, or step in one dimension.
TEST(Reduction, WritesTheSameOnGridsThatFoldAndStep) {
    for (Shape const& shape :
         {Shape{200 * 100 + 7, 200, 1}, Shape{5000 * 3 + 2, 3, 1}, Shape{300 * 100, 100, 1},
          Shape{2000 * 3 * 2, 3, 2000}, Shape{5 * 3 * 50, 3, 5}}) {
        Elements<double> const in = mixedValues<double>(shape.numElements);
        DeviceArray<double> input(in), out(shape.numResults()), max(shape.numResults()),
            outIndex(shape.numResults());
        {
            GridLimits const limits(7, 6);
            ASSERT_EQ(cudaSuccess,
                      SumNative::Invoker<double>()(nullptr, out.data(), input.data(), shape.numElements,
                                                   shape.reductionLength, shape.stride, false));
            ASSERT_EQ(cudaSuccess, MaxWithIndex::Invoker<double>()(
                                       nullptr, max.data(), outIndex.data(), input.data(), shape.numElements,
                                       shape.reductionLength, 4, shape.stride, false));
        }
        auto const expected = reference::reduce<double, reference::Sum<double>, double>(
            in, shape, [](double value) { return value != value ? 0 : value; });
        expectSameValues(expected, out.values());
        Elements<double> expectedMax, expectedIndex;
        reference::reduceWithIndex<reference::Extremum<double, 1, false>, double>(in, shape, 4, expectedMax,
                                                                                  expectedIndex);
        expectSameBits(expectedMax, max.values());
        expectSameBits(expectedIndex, outIndex.values());
    }
}

/// With both dimensions stepped a launch visits a diagonal of tiles only, and nothing else is written.
TEST(Reduction, SteppedInBothDimensionsWritesADiagonal) {
    unsigned long const stride = 256 * 8, length = 2, outer = 8;
    Elements<double> const in(stride * length * outer, 1.0);
    Elements<double> const before(stride * outer, -1.0);
    DeviceArray<double> input(in), sums(before), maxima(before), positions(before);
    {
        GridLimits const limits(2, 2);
        ASSERT_EQ(cudaSuccess, SumNative::Invoker<double>()(nullptr, sums.data(), input.data(), in.size(),
                                                            length, stride, true));
        ASSERT_EQ(cudaSuccess,
                  MaxWithIndex::Invoker<double>()(nullptr, maxima.data(), positions.data(), input.data(),
                                                  in.size(), length, 1, stride, true));
    }
    Elements<double> expectedSums = before, expectedMaxima = before;
    for (unsigned long r = 0; r < before.size(); ++r) {
        if (!onDiagonal(r % stride, r / stride, 256)) continue;
        expectedSums[r] = 2;
        expectedMaxima[r] = 1;
    }
    expectSameBits(expectedSums, sums.values());
    expectSameBits(expectedMaxima, maxima.values());
    expectSameBits(expectedMaxima, positions.values());  // each maximum, 1, is the first element
}

/// Of one element for all, in which every count and every sum is exact.
template <class T>
void expectExact(T element, double asNumber) {
    unsigned long const n = 300001;
    DeviceArray<T> in(Elements<T>(n, element));
    DeviceArray<double> out(2);
    ASSERT_EQ(cudaSuccess, CountNonZero::Invoker<T>()(nullptr, out.data(), in.data(), n, n));
    ASSERT_EQ(cudaSuccess, SumAsDouble::Invoker<T>()(nullptr, out.data() + 1, in.data(), n, n, 1, true));
    expectSameBits({static_cast<double>(n), static_cast<double>(n) * asNumber}, out.values());
}

TEST(Reduction, CountsAndSumsOfManyNarrowElementsAreExact) {
    expectExact<bool>(true, 1);
    expectExact<signed char>(-128, -128);
    expectExact<signed char>(127, 127);
    expectExact<double>(-0.5, -0.5);
#ifndef KVGPURUNTIME_SAMPLE_INSTANCES
    expectExact<unsigned char>(255, 255);
    expectExact<short>(-32768, -32768);
    expectExact<unsigned short>(65535, 65535);
#endif
}

}  // namespace
}  // namespace gpuruntime::testing
