#include <gtest/gtest.h>

#include <algorithm>

#include "tests/filtering/convolution_reference.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/sampled.hpp"
#include "tests/support/test_types.hpp"

namespace gpuruntime {
namespace {

using convn::OffsetsAndSzs;
using convolutioncommon::KernelType;
using testing::Arguments;
using testing::DeviceArray;
using testing::Elements;
using testing::expectSameValues;
using testing::fusedStep;
using testing::valuesOf;

constexpr KernelType kernelTypes[] = {KernelType::Column, KernelType::Row};

template <class T>
using MatrixCall = cudaError(CUstream_st*, T*, T const*, T const*, unsigned long const*, unsigned long const*,
                             OffsetsAndSzs const&, unsigned long const&, KernelType const&);

template <class T>
auto matrixInstances() {
    return testing::instancesOf<ConvolutionMatrix, T, MatrixCall<T>>(
        typename convolutioncommon::TapCountsOf<T>::type{});
}

template <class T>
unsigned long resultsPerThread() {
    return std::is_same_v<T, float> ? 12 : std::is_same_v<T, double2> ? 2 : 4;
}

struct Extents {
    unsigned long x, y;
    unsigned long size() const { return x * y; }
};

/// The limits of a grid.
struct Limits {
    unsigned long x = 2147483647, y = 65535;
};

/// Threads along the filter and across it.
struct Threads {
    unsigned long along, across;
};
Threads threadsOf(KernelType type) { return type == KernelType::Column ? Threads{32, 4} : Threads{8, 16}; }

/// By what is told of each thread, in terms of the position along the filter and across it.
template <class T>
Elements<T> convolved(Elements<T> out, Extents outExtents, Elements<T> const& in, Extents inExtents,
                      Elements<T> const& filter, unsigned long taps, OffsetsAndSzs const& s, KernelType type,
                      bool isPage, Limits limits = {}) {
    bool const isColumn = type == KernelType::Column;
    if ((isColumn ? s.extentDim1 : s.extentDim0) == 0) return out;
    unsigned long const K = resultsPerThread<T>(), numTaps = taps + s.extraTaps;
    unsigned long const halo = convolutioncommon::haloOf<T>(static_cast<unsigned int>(taps));
    unsigned long const firstTap = s.filterPieceOffset + s.filterTapOffset;
    unsigned long const inPage = isPage ? s.inPageOffset : 0, outPage = isPage ? s.outPageOffset : 0;
    Threads const threads = threadsOf(type);
    auto const threadsFor = [&](unsigned long extent) { return extent == 0 ? 1 : (extent + K - 1) / K; };
    auto const blocks =
        isColumn ? testing::visitedBlocks(threadsFor(s.extentDim0), s.extentDim1, 32, 4, limits.x, limits.y)
                 : testing::visitedBlocks(s.extentDim0, threadsFor(s.extentDim1), 16, 8, limits.x, limits.y);
    auto const along = [&](unsigned long dim0, unsigned long dim1) { return isColumn ? dim0 : dim1; };
    auto const across = [&](unsigned long dim0, unsigned long dim1) { return isColumn ? dim1 : dim0; };
    for (auto const& block : blocks) {
        unsigned long const base =
            along(block.x, block.y) * threads.along * K + along(s.startDim0, s.startDim1);
        unsigned long const side =
            across(block.x, block.y) * threads.across + across(s.startDim0, s.startDim1);
        bool const isInterior =
            base >= halo && base + threads.along * K - 1 < along(s.interiorEndDim0, s.interiorEndDim1);
        for (unsigned long a = 0; a < threads.along; ++a) {
            for (unsigned long c = 0; c < threads.across; ++c) {
                unsigned long const position = side + c;
                unsigned long const toAlong = base + s.outShiftAlong + a,
                                    toAcross = position + s.outShiftAcross;
                unsigned long const trimAlong = along(s.outTrimDim0, s.outTrimDim1);
                unsigned long const trimAcross = across(s.outTrimDim0, s.outTrimDim1);
                if (toAlong < trimAlong || toAcross < trimAcross) continue;
                bool const isUnguarded =
                    isInterior && position < across(s.interiorEndDim0, s.interiorEndDim1);
                for (unsigned long k = 0; k < K; ++k) {
                    unsigned long const n = base + a + threads.along * k;
                    T sum{};
                    for (unsigned long j = 0; j < numTaps; ++j) {
                        bool const isIn = n >= j && n - j < along(inExtents.x, inExtents.y) &&
                                          position < across(inExtents.x, inExtents.y);
                        unsigned long const index =
                            isColumn ? position * inExtents.x + n - j : (n - j) * inExtents.x + position;
                        sum = fusedStep(filter[firstTap + j], isIn ? in[inPage + index] : T{}, sum);
                    }
                    unsigned long const i = toAlong - trimAlong + threads.along * k,
                                        l = toAcross - trimAcross;
                    if (!isUnguarded &&
                        (i >= along(outExtents.x, outExtents.y) || l >= across(outExtents.x, outExtents.y))) {
                        continue;
                    }
                    T& result = out[outPage + (isColumn ? l * outExtents.x + i : i * outExtents.x + l)];
                    result = s.firstPiece ? sum : testing::plus(result, sum);
                }
            }
        }
    }
    return out;
}

/// All of an input into an output of the same extents.
OffsetsAndSzs wholeOf(Extents extents) {
    OffsetsAndSzs sizes{};
    sizes.extentDim0 = extents.x;
    sizes.extentDim1 = extents.y;
    sizes.firstPiece = true;
    return sizes;
}

template <class T>
class ConvolutionMatrices : public ::testing::Test {
  protected:
    /// Of as many taps as the shortest instance has, or more.
    static Elements<T> result(KernelType type, Extents extents, std::vector<double> const& in,
                              std::vector<double> const& filter, OffsetsAndSzs sizes, Elements<T> const& out,
                              Extents outExtents) {
        auto const instance = matrixInstances<T>().front();
        Elements<T> taps = valuesOf<T>(filter);
        taps.resize(std::max<unsigned long>(instance.constant, filter.size()), T{});
        sizes.extraTaps = taps.size() - instance.constant;
        unsigned long const inSizes[] = {extents.x, extents.y}, outSizes[] = {outExtents.x, outExtents.y};
        DeviceArray<T> o(out), i(valuesOf<T>(in)), f(taps);
        EXPECT_EQ(cudaSuccess,
                  instance.call(nullptr, o.data(), i.data(), f.data(), inSizes, outSizes, sizes, 2ul, type));
        return o.values();
    }
    static Elements<T> result(KernelType type, Extents extents, std::vector<double> const& in,
                              std::vector<double> const& filter) {
        return result(type, extents, in, filter, wholeOf(extents), Elements<T>(in.size()), extents);
    }

    static void expectConvolved(testing::Instance<T, MatrixCall<T>> const& instance, KernelType type,
                                Elements<T> const& out, Extents outExtents, Elements<T> const& in,
                                Extents inExtents, Elements<T> const& filter, OffsetsAndSzs const& sizes,
                                unsigned long numDims = 2, Limits limits = {}) {
        unsigned long const inSizes[] = {inExtents.x, inExtents.y}, outSizes[] = {outExtents.x, outExtents.y};
        DeviceArray<T> o(out), i(in), f(filter);
        ASSERT_EQ(cudaSuccess, instance.call(nullptr, o.data(), i.data(), f.data(), inSizes, outSizes, sizes,
                                             numDims, type));
        SCOPED_TRACE(::testing::Message()
                     << "kernel " << static_cast<unsigned int>(type) << ", " << instance.constant << " + "
                     << sizes.extraTaps << " taps, in " << inExtents.x << " by " << inExtents.y << ", out "
                     << outExtents.x << " by " << outExtents.y << ", start " << sizes.startDim0 << ", "
                     << sizes.startDim1 << ", trim " << sizes.outTrimDim0 << ", " << sizes.outTrimDim1);
        expectSameValues(convolved<T>(out, outExtents, in, inExtents, filter, instance.constant, sizes, type,
                                      numDims > 2, limits),
                         o.values());
        testing::expectSameBits(in, i.values());
        testing::expectSameBits(filter, f.values());
    }

    /// Extents around the end of a block along the filter, and a few blocks across it.
    static std::vector<Extents> extentsAround(KernelType type) {
        Threads const threads = threadsOf(type);
        unsigned long const tile = threads.along * resultsPerThread<T>();
        std::vector<Extents> extents;
        for (unsigned long const along : {1ul, threads.along + 1, tile - 1, tile, tile + 1, 3 * tile + 5}) {
            for (unsigned long const across : {1ul, threads.across, 2 * threads.across + 1}) {
                extents.push_back(type == KernelType::Column ? Extents{along, across}
                                                             : Extents{across, along});
            }
        }
        return extents;
    }
};

TYPED_TEST_SUITE(ConvolutionMatrices, testing::TestTypes<internal::Floating>);

TYPED_TEST(ConvolutionMatrices, GoDownColumnsOrAlongRows) {
    using T = TypeParam;
    std::vector<double> const in{1, 2, 4, 10, 20, 40};  // 3 by 2
    expectSameValues(valuesOf<T>({1, 1, 2, 10, 10, 20}),
                     this->result(KernelType::Column, {3, 2}, in, {1, -1}));
    expectSameValues(valuesOf<T>({1, 2, 4, 9, 18, 36}), this->result(KernelType::Row, {3, 2}, in, {1, -1}));
    // Any value but 0 is rows.
    expectSameValues(valuesOf<T>({1, 2, 4, 9, 18, 36}), this->result(KernelType(7), {3, 2}, in, {1, -1}));
}

TYPED_TEST(ConvolutionMatrices, OfOneRowAlongRowsAreTheFilterForEachElement) {
    using T = TypeParam;
    Extents const in{3, 1}, out{3, 3};
    expectSameValues(valuesOf<T>({1, 2, 4, 10, 20, 40, 100, 200, 400}),
                     this->result(KernelType::Row, in, {1, 2, 4}, {1, 10, 100}, wholeOf(out),
                                  Elements<T>(out.size()), out));
}

TYPED_TEST(ConvolutionMatrices, OfLaterPiecesAddToTheOutput) {
    using T = TypeParam;
    OffsetsAndSzs sizes = wholeOf({2, 2});
    sizes.firstPiece = false;
    for (KernelType const type : kernelTypes) {
        expectSameValues(valuesOf<T>({11, 12, 13, 14}), this->result(type, {2, 2}, {1, 2, 3, 4}, {1}, sizes,
                                                                     valuesOf<T>({10, 10, 10, 10}), {2, 2}));
    }
}

/// Beyond the extents to go over, too, as far as their last block goes.
TYPED_TEST(ConvolutionMatrices, GoOverWholeBlocks) {
    using T = TypeParam;
    Extents const extents{40, 40};
    std::vector<double> const in(extents.size(), 2);
    for (KernelType const type : kernelTypes) {
        bool const isColumn = type == KernelType::Column;
        Elements<T> expected = valuesOf<T>(std::vector<double>(extents.size(), -1));
        unsigned long const alongEnd = std::min(extents.x, threadsOf(type).along * resultsPerThread<T>());
        unsigned long const endX = isColumn ? alongEnd : 16, endY = isColumn ? 4 : alongEnd;
        for (unsigned long y = 0; y < endY; ++y) {
            for (unsigned long x = 0; x < endX; ++x) expected[y * extents.x + x] = testing::valueOf<T>(2);
        }
        expectSameValues(expected,
                         this->result(type, extents, in, {1}, wholeOf({1, 1}),
                                      valuesOf<T>(std::vector<double>(extents.size(), -1)), extents));
    }
}

/// Three threads along the filter begin before the output, and two across it.
TYPED_TEST(ConvolutionMatrices, AreDroppedByThreadsWhoseFirstIsTrimmed) {
    using T = TypeParam;
    for (KernelType const type : kernelTypes) {
        bool const isColumn = type == KernelType::Column;
        Threads const threads = threadsOf(type);
        unsigned long const length = threads.along * resultsPerThread<T>(), width = threads.across;
        Extents const in = isColumn ? Extents{length, width} : Extents{width, length};
        Extents const out = isColumn ? Extents{length - 3, width - 2} : Extents{width - 2, length - 3};
        OffsetsAndSzs sizes = wholeOf(in);
        sizes.outTrimDim0 = isColumn ? 3 : 2;
        sizes.outTrimDim1 = isColumn ? 2 : 3;
        Elements<T> expected(out.size(), testing::valueOf<T>(2));
        for (unsigned long i = threads.along - 3; i < length - 3; ++i) {
            if ((i + 3) % threads.along >= 3) continue;
            for (unsigned long l = 0; l < width - 2; ++l) {
                expected[isColumn ? l * out.x + i : i * out.x + l] = testing::valueOf<T>(-1);
            }
        }
        expectSameValues(expected, this->result(type, in, std::vector<double>(in.size(), 2), {1}, sizes,
                                                Elements<T>(out.size(), testing::valueOf<T>(-1)), out));
    }
}

TYPED_TEST(ConvolutionMatrices, OfEveryLengthAddTheTapsInOrder) {
    using T = TypeParam;
    Arguments<T> arguments(1);
    for (KernelType const type : kernelTypes) {
        for (auto const& instance : matrixInstances<T>()) {
            unsigned long const most =
                convolutioncommon::haloOf<T>(instance.constant) + 1 - instance.constant;
            for (unsigned long const extra : {0ul, 1ul, most}) {
                OffsetsAndSzs sizes{};
                sizes.extraTaps = extra;
                sizes.filterPieceOffset = arguments.below(3);
                sizes.filterTapOffset = arguments.below(3);
                auto const filter = arguments.values(4 + instance.constant + extra);
                for (Extents const extents : testing::sampled(this->extentsAround(type))) {
                    if (arguments.below(3) != 0) continue;
                    Extents const in{extents.x + arguments.below(9), extents.y + arguments.below(9)};
                    sizes.extentDim0 = extents.x;
                    sizes.extentDim1 = extents.y;
                    sizes.interiorEndDim0 = arguments.below(2) * extents.x;
                    sizes.interiorEndDim1 = arguments.below(2) * extents.y;
                    sizes.firstPiece = arguments.below(2) == 0;
                    this->expectConvolved(instance, type, arguments.values(extents.size()), extents,
                                          arguments.values(in.size()), in, filter, sizes);
                }
            }
        }
    }
}

/// Inputs that end with a block's own elements in either direction, and one before and behind.
TYPED_TEST(ConvolutionMatrices, ReadNothingBehindTheInput) {
    using T = TypeParam;
    auto const instances = matrixInstances<T>();
    Arguments<T> arguments(600);
    for (KernelType const type : kernelTypes) {
        Threads const threads = threadsOf(type);
        unsigned long const length = 2 * threads.along * resultsPerThread<T>(), width = threads.across;
        for (unsigned long const along : {length - 1, length, length + 1}) {
            for (unsigned long const across : {width - 1, width, width + 1}) {
                bool const isColumn = type == KernelType::Column;
                Extents const in = isColumn ? Extents{along, across} : Extents{across, along};
                Extents const out{in.x + 2, in.y + 2};
                auto const& instance = instances[arguments.below(instances.size())];
                this->expectConvolved(instance, type, arguments.values(out.size()), out,
                                      arguments.values(in.size()), in, arguments.values(instance.constant),
                                      wholeOf(out));
            }
        }
    }
}

TYPED_TEST(ConvolutionMatrices, TakeSpecialValues) {
    using T = TypeParam;
    unsigned long seed = 100;
    for (KernelType const type : kernelTypes) {
        for (auto const& instance : matrixInstances<T>()) {
            Extents const extents{60 + seed % 20, 70};
            OffsetsAndSzs sizes = wholeOf(extents);
            sizes.firstPiece = seed % 2 == 0;
            auto const filter = testing::mixedValues<T>(instance.constant, 1 + seed % 20, seed);
            this->expectConvolved(instance, type, testing::mixedValues<T>(extents.size(), 3, seed + 1),
                                  extents, testing::mixedValues<T>(extents.size(), 7 + seed % 90, seed + 2),
                                  extents, filter, sizes);
            ++seed;
        }
    }
}

/// Starts within the input and beyond it, shifts and trims in both directions; interior ends on both sides
/// of a block's end, though never beyond the output.
TYPED_TEST(ConvolutionMatrices, BeginAndEndAnywhere) {
    using T = TypeParam;
    auto const instances = matrixInstances<T>();
    Arguments<T> arguments(200);
    for (KernelType const type : kernelTypes) {
        for (unsigned int n = 0; n < 60; ++n) {
            auto const& instance = instances[arguments.below(instances.size())];
            Extents const in{1 + arguments.below(450), 1 + arguments.below(150)};
            OffsetsAndSzs s{};
            s.extentDim0 = 1 + arguments.below(450);
            s.extentDim1 = 1 + arguments.below(150);
            s.startDim0 = arguments.below(3) * arguments.below(50);
            s.startDim1 = arguments.below(3) * arguments.below(50);
            s.outShiftAlong = arguments.below(2) * arguments.below(40);
            s.outShiftAcross = arguments.below(2) * arguments.below(40);
            s.outTrimDim0 = arguments.below(2) * arguments.below(60);
            s.outTrimDim1 = arguments.below(2) * arguments.below(60);
            s.firstPiece = arguments.below(2) == 0;
            Extents const out{1 + arguments.below(500), 1 + arguments.below(200)};
            // An input position that ends inside both shows that its result lies in the output.
            bool const isColumn = type == KernelType::Column;
            unsigned long const shift0 = isColumn ? s.outShiftAlong : s.outShiftAcross;
            unsigned long const shift1 = isColumn ? s.outShiftAcross : s.outShiftAlong;
            auto const interiorEnd = [](unsigned long size, unsigned long trim, unsigned long shift) {
                return size + trim < shift ? 0 : size + trim - shift;
            };
            s.interiorEndDim0 = interiorEnd(out.x, s.outTrimDim0, shift0);
            s.interiorEndDim1 = interiorEnd(out.y, s.outTrimDim1, shift1);
            this->expectConvolved(instance, type, arguments.values(out.size()), out,
                                  arguments.values(in.size()), in, arguments.values(instance.constant), s);
        }
    }
}

/// Where the interior is said to go beyond the output, stores are not tested; but in a block that begins less
/// than a halo behind the first element they are.
TYPED_TEST(ConvolutionMatrices, AreStoredWithoutATestInTheInterior) {
    using T = TypeParam;
    auto const instance = matrixInstances<T>().front();
    unsigned long const halo = convolutioncommon::haloOf<T>(instance.constant);
    Arguments<T> arguments(300);
    for (KernelType const type : kernelTypes) {
        for (unsigned long const start : {halo - 1, halo}) {
            Threads const threads = threadsOf(type);
            unsigned long const length = threads.along * resultsPerThread<T>();
            bool const isColumn = type == KernelType::Column;
            OffsetsAndSzs s{};
            s.firstPiece = true;
            (isColumn ? s.startDim0 : s.startDim1) = start;
            s.outTrimDim0 = s.startDim0;
            s.outTrimDim1 = s.startDim1;
            // One line along the filter is of the interior, the others are not.
            s.interiorEndDim0 = isColumn ? start + length : 1;
            s.interiorEndDim1 = isColumn ? 1 : start + length;
            s.extentDim0 = isColumn ? length : threads.across;
            s.extentDim1 = isColumn ? threads.across : length;
            Extents const in{s.startDim0 + s.extentDim0, s.startDim1 + s.extentDim1};
            // The output is said to be one element short of the block.
            Extents const out = isColumn ? Extents{length - 1, 1} : Extents{2, length - 1};
            unsigned long const inSizes[] = {in.x, in.y}, outSizes[] = {out.x, out.y};
            auto const input = arguments.values(in.size()), filter = arguments.values(instance.constant);
            auto const before = arguments.values(2 * length);
            DeviceArray<T> o(before), i(input), f(filter);
            ASSERT_EQ(cudaSuccess,
                      instance.call(nullptr, o.data(), i.data(), f.data(), inSizes, outSizes, s, 2ul, type));
            auto const actual = o.values();
            expectSameValues(convolved<T>(before, out, input, in, filter, instance.constant, s, type, false),
                             actual);
            bool const isUntouched = testing::sameBits(before[out.size()], actual[out.size()]);
            EXPECT_EQ(start < halo, isUntouched);
            EXPECT_TRUE(testing::sameBits(before[out.size() + 1], actual[out.size() + 1]));
        }
    }
}

/// More blocks than a grid has, in either direction: with steps in both only a diagonal of tiles is visited.
TYPED_TEST(ConvolutionMatrices, OnSmallGridsStep) {
    using T = TypeParam;
    auto const instances = matrixInstances<T>();
    Arguments<T> arguments(400);
    for (KernelType const type : kernelTypes) {
        Threads const threads = threadsOf(type);
        unsigned long const length = threads.along * resultsPerThread<T>();
        Extents const extents = type == KernelType::Column ? Extents{5 * length + 1, 5 * threads.across + 1}
                                                           : Extents{5 * threads.across + 1, 5 * length + 1};
        for (Limits const limits : {Limits{3, 65535}, Limits{65535, 2}, Limits{2, 3}}) {
            testing::GridLimits const stored(limits.x, limits.y);
            auto const& instance = instances[arguments.below(instances.size())];
            OffsetsAndSzs sizes = wholeOf(extents);
            sizes.interiorEndDim0 = extents.x;
            sizes.interiorEndDim1 = extents.y;
            this->expectConvolved(instance, type, arguments.values(extents.size()), extents,
                                  arguments.values(extents.size()), extents,
                                  arguments.values(instance.constant), sizes, 2, limits);
        }
    }
}

/// Page offsets count beyond two dimensions alone.
TYPED_TEST(ConvolutionMatrices, OfPagesBeginWhereTheyAreTold) {
    using T = TypeParam;
    auto const instances = matrixInstances<T>();
    Arguments<T> arguments(500);
    Extents const extents{50, 40};
    for (KernelType const type : kernelTypes) {
        for (unsigned long const numDims : {0ul, 1ul, 2ul, 3ul, 4ul}) {
            auto const& instance = instances[arguments.below(instances.size())];
            OffsetsAndSzs sizes = wholeOf(extents);
            sizes.inPageOffset = 2 * extents.size();
            sizes.outPageOffset = extents.size();
            this->expectConvolved(instance, type, arguments.values(3 * extents.size()), extents,
                                  arguments.values(3 * extents.size()), extents,
                                  arguments.values(instance.constant), sizes, numDims);
        }
    }
}

/// Along both dimensions, with the filter of columns in two pieces: of numbers whose sums are exact.
TYPED_TEST(ConvolutionMatrices, AfterEachOtherAreSeparableFilters) {
    using T = TypeParam;
    auto const instances = matrixInstances<T>();
    auto const& first = instances[0];
    auto const& second = instances[1];
    Extents const in{30, 25};
    unsigned long const numRowTaps = first.constant, numColumnTaps = first.constant + second.constant;
    Extents const between{in.x, in.y + numRowTaps - 1}, out{in.x + numColumnTaps - 1, between.y};
    auto const input = testing::wholeValues<T>(in.size(), 1);
    auto const rowFilter = testing::wholeValues<T>(numRowTaps, 2),
               columnFilter = testing::wholeValues<T>(numColumnTaps, 3);
    DeviceArray<T> i(input), b(between.size()), o(out.size()), rows(rowFilter), columns(columnFilter);
    unsigned long const inSizes[] = {in.x, in.y}, betweenSizes[] = {between.x, between.y},
                        outSizes[] = {out.x, out.y};
    OffsetsAndSzs sizes = wholeOf(between);
    ASSERT_EQ(cudaSuccess, first.call(nullptr, b.data(), i.data(), rows.data(), inSizes, betweenSizes, sizes,
                                      2ul, KernelType::Row));
    sizes = wholeOf(out);
    ASSERT_EQ(cudaSuccess, second.call(nullptr, o.data(), b.data(), columns.data(), betweenSizes, outSizes,
                                       sizes, 2ul, KernelType::Column));
    // The second piece's results begin as many rows further down; above them its threads have nothing.
    sizes.filterPieceOffset = second.constant - 1;
    sizes.filterTapOffset = 1;
    sizes.outShiftAlong = second.constant;
    sizes.firstPiece = false;
    ASSERT_EQ(cudaSuccess, first.call(nullptr, o.data(), b.data(), columns.data(), betweenSizes, outSizes,
                                      sizes, 2ul, KernelType::Column));
    Elements<T> expected(out.size());
    for (unsigned long y = 0; y < out.y; ++y) {
        for (unsigned long x = 0; x < out.x; ++x) {
            for (unsigned long a = 0; a < numColumnTaps; ++a) {
                T line{};
                for (unsigned long c = 0; c < numRowTaps; ++c) {
                    if (x >= a && x - a < in.x && y >= c && y - c < in.y) {
                        line = fusedStep(rowFilter[c], input[(y - c) * in.x + x - a], line);
                    }
                }
                T& sum = expected[y * out.x + x];
                sum = fusedStep(columnFilter[a], line, sum);
            }
        }
    }
    expectSameValues(expected, o.values());
}

}  // namespace
}  // namespace gpuruntime
