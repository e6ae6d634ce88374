#include <gtest/gtest.h>

#include "tests/filtering/convolution_reference.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/sampled.hpp"
#include "tests/support/test_types.hpp"

namespace gpuruntime {
namespace {

using conv::OffsetsAndSzs;
using testing::Arguments;
using testing::DeviceArray;
using testing::Elements;
using testing::expectSameValues;
using testing::fusedStep;
using testing::valuesOf;

template <class T>
using VectorCall = cudaError(CUstream_st*, T*, T const*, T const*, OffsetsAndSzs const&);

template <class T>
auto vectorInstances() {
    return testing::instancesOf<ConvolutionVector, T, VectorCall<T>>(
        typename convolutioncommon::TapCountsOf<T>::type{});
}

constexpr unsigned long threads = 128;

template <class T>
unsigned long resultsPerThread() {
    return std::is_same_v<T, float> ? 16 : std::is_same_v<T, float2> ? 8 : 4;
}

/// By what is told of each thread; `limit` is the largest extent of a grid.
template <class T>
Elements<T> convolved(Elements<T> out, Elements<T> const& in, Elements<T> const& filter,
                      unsigned long numTaps, OffsetsAndSzs const& sizes, unsigned long limit = 2147483647) {
    unsigned long const K = resultsPerThread<T>();
    unsigned long const count = sizes.outSize == 0 ? 1 : (sizes.outSize - 1) / K + 1;
    unsigned long const blocks = (count + threads - 1) / threads, rows = (blocks + limit - 1) / limit;
    unsigned long const launched = (blocks + rows - 1) / rows * rows;
    for (unsigned long thread = 0; thread < launched * threads; ++thread) {
        unsigned long const position = thread / threads * threads * K + sizes.inStart + thread % threads;
        unsigned long const m = position + sizes.filterOffset;
        if (m < sizes.outTrim) continue;
        for (unsigned long k = 0; k < K; ++k) {
            unsigned long const n = position + threads * k, i = m - sizes.outTrim + threads * k;
            if (i >= sizes.outSize) continue;
            T sum{};
            for (unsigned long j = 0; j < numTaps; ++j) {
                T const element = n >= j && n - j < sizes.inSize ? in[n - j] : T{};
                sum = fusedStep(filter[sizes.filterOffset + j], element, sum);
            }
            out[i] = sizes.firstPiece ? sum : testing::plus(out[i], sum);
        }
    }
    return out;
}

/// The most taps that a call of an instance may have.
template <class T>
unsigned long mostTaps(testing::Instance<T, VectorCall<T>> const& instance) {
    return convolutioncommon::haloOf<T>(instance.constant) + 1;
}

template <class T>
class ConvolutionVectors : public ::testing::Test {
  protected:
    /// Of the shortest filters, N taps and more by extra ones.
    static Elements<T> result(std::vector<double> const& in, std::vector<double> const& filter,
                              OffsetsAndSzs sizes, Elements<T> out) {
        auto const instance = vectorInstances<T>().front();
        sizes.inSize = in.size();
        sizes.outSize = out.size();
        Elements<T> taps = valuesOf<T>(filter);
        unsigned long const numTaps = std::max<unsigned long>(instance.constant, filter.size());
        taps.resize(numTaps, T{});
        sizes.extraTaps = numTaps - instance.constant;
        DeviceArray<T> o(out), i(valuesOf<T>(in)), f(taps);
        EXPECT_EQ(cudaSuccess, instance.call(nullptr, o.data(), i.data(), f.data(), sizes));
        return o.values();
    }

    /// Calls an instance and compares.
    static void expectConvolved(testing::Instance<T, VectorCall<T>> const& instance, Elements<T> const& out,
                                Elements<T> const& in, Elements<T> const& filter, OffsetsAndSzs sizes,
                                unsigned long limit = 2147483647) {
        sizes.outSize = out.size();
        sizes.inSize = in.size();
        DeviceArray<T> o(out), i(in), f(filter);
        ASSERT_EQ(cudaSuccess, instance.call(nullptr, o.data(), i.data(), f.data(), sizes));
        unsigned long const numTaps = instance.constant + sizes.extraTaps;
        SCOPED_TRACE(::testing::Message()
                     << numTaps << " taps, " << out.size() << " of " << in.size() << ", start "
                     << sizes.inStart << ", offset " << sizes.filterOffset << ", trim " << sizes.outTrim);
        expectSameValues(convolved<T>(out, in, filter, numTaps, sizes, limit), o.values());
        testing::expectSameBits(in, i.values());
        testing::expectSameBits(filter, f.values());
    }
};

TYPED_TEST_SUITE(ConvolutionVectors, testing::TestTypes<internal::Floating>);

OffsetsAndSzs firstPiece() { return {0, 0, 0, 0, 0, 0, true}; }

TYPED_TEST(ConvolutionVectors, ReadZerosAroundTheInput) {
    using T = TypeParam;
    expectSameValues(valuesOf<T>({1, 12, 23, 30}),
                     this->result({1, 2, 3}, {1, 10}, firstPiece(), Elements<T>(4)));
}

TYPED_TEST(ConvolutionVectors, OfASampleAreTheFilter) {
    using T = TypeParam;
    expectSameValues(valuesOf<T>({3, 5, 7, 9, 0}),
                     this->result({1}, {3, 5, 7, 9}, firstPiece(), Elements<T>(5)));
}

TYPED_TEST(ConvolutionVectors, LeaveOutWhatIsTrimmed) {
    using T = TypeParam;
    OffsetsAndSzs sizes = firstPiece();
    sizes.inStart = sizes.outTrim = 2;
    expectSameValues(valuesOf<T>({23, 30}), this->result({1, 2, 3}, {1, 10}, sizes, Elements<T>(2)));
}

/// The second piece, of the tap 10, adds 10, 20 and 30 where the first left 5.
TYPED_TEST(ConvolutionVectors, OfLaterPiecesAddToTheOutput) {
    using T = TypeParam;
    Elements<T> const out = valuesOf<T>({5, 5, 5, 5, 5});
    expectSameValues(valuesOf<T>({15, 25, 35, 5, 5}),
                     this->result({1, 2, 3}, {10}, {0, 0, 0, 0, 0, 0, false}, out));
}

TYPED_TEST(ConvolutionVectors, WithoutOutputWriteNothing) {
    using T = TypeParam;
    this->result({1, 2, 3}, {1, 10}, firstPiece(), Elements<T>());
}

/// Three threads begin before the output, and drop their results 128 and more on, too.
TYPED_TEST(ConvolutionVectors, AreDroppedByThreadsWhoseFirstIsTrimmed) {
    using T = TypeParam;
    OffsetsAndSzs sizes = firstPiece();
    sizes.outTrim = 3;
    Elements<T> expected = valuesOf<T>(std::vector<double>(300, 2));
    for (unsigned long i : {125, 126, 127, 253, 254, 255}) expected[i] = testing::valueOf<T>(-1);
    expectSameValues(expected, this->result(std::vector<double>(400, 2), {1}, sizes,
                                            valuesOf<T>(std::vector<double>(300, -1))));
}

/// Every instance, with all numbers of extra taps that matter, at the ends of tiles.
TYPED_TEST(ConvolutionVectors, OfEveryLengthAddTheTapsInOrder) {
    using T = TypeParam;
    unsigned long const tile = threads * resultsPerThread<T>();
    std::vector<unsigned long> const outSizes{1, 127, 128, 129, tile - 1, tile, tile + 1, 3 * tile + 77};
    Arguments<T> arguments(1);
    for (auto const& instance : vectorInstances<T>()) {
        for (unsigned long const extra : {0ul, 1ul, mostTaps<T>(instance) - instance.constant}) {
            unsigned long const offset = arguments.below(3);
            auto const filter = arguments.values(offset + instance.constant + extra);
            for (unsigned long const size : testing::sampled(outSizes)) {
                auto const in = arguments.values(size + arguments.below(50));
                this->expectConvolved(
                    instance, arguments.values(size), in, filter,
                    {offset, 0, 0, extra, arguments.below(5), arguments.below(4), arguments.below(2) == 0});
            }
        }
    }
}

/// NaN, infinities, zeros and denormals meet each other and the zeros around.
TYPED_TEST(ConvolutionVectors, TakeSpecialValues) {
    using T = TypeParam;
    unsigned long seed = 100;
    for (auto const& instance : vectorInstances<T>()) {
        unsigned long const extra = seed % 3;
        auto const filter = testing::mixedValues<T>(instance.constant + extra, 1 + seed % 20, seed);
        auto const in = testing::mixedValues<T>(2500, 7 + seed % 90, seed + 1);
        auto const out = testing::mixedValues<T>(2600, 3, seed + 2);
        for (bool const first : {true, false}) {
            this->expectConvolved(instance, out, in, filter, {0, 0, 0, extra, 0, 0, first});
        }
        ++seed;
    }
}

/// Blocks that begin within the input and beyond it, results before and after the output.
TYPED_TEST(ConvolutionVectors, BeginAndEndAnywhere) {
    using T = TypeParam;
    unsigned long const tile = threads * resultsPerThread<T>();
    auto const instances = vectorInstances<T>();
    Arguments<T> arguments(200);
    for (unsigned long const start : {0ul, 1ul, 40ul, tile - 3, 2 * tile + 5}) {
        for (unsigned long const trim : {0ul, 2ul, 127ul, 128ul, tile, 2 * tile + 9}) {
            auto const& instance = instances[arguments.below(instances.size())];
            auto const filter = arguments.values(4 + instance.constant);
            auto const in = arguments.values(2 * tile + arguments.below(40));
            auto const out = arguments.values(2 * tile + 3);
            this->expectConvolved(instance, out, in, filter,
                                  {arguments.below(5), 0, 0, 0, start, trim, arguments.below(2) == 0});
        }
    }
}

/// Inputs that end with a block's own elements, and one before and behind.
TYPED_TEST(ConvolutionVectors, ReadNothingBehindTheInput) {
    using T = TypeParam;
    unsigned long const tile = threads * resultsPerThread<T>();
    Arguments<T> arguments(400);
    for (auto const& instance : vectorInstances<T>()) {
        auto const filter = arguments.values(instance.constant);
        for (unsigned long const inSize :
             testing::sampled<unsigned long>({2 * tile - 1, 2 * tile, 2 * tile + 1})) {
            this->expectConvolved(instance, arguments.values(2 * tile + 40), arguments.values(inSize), filter,
                                  firstPiece());
        }
    }
}

TYPED_TEST(ConvolutionVectors, OnSmallGridsFold) {
    using T = TypeParam;
    unsigned long const tile = threads * resultsPerThread<T>();
    auto const instances = vectorInstances<T>();
    Arguments<T> arguments(300);
    for (unsigned long const limit : {1ul, 2ul, 3ul}) {
        testing::GridLimits const limits(limit);
        auto const& instance = instances[arguments.below(instances.size())];
        auto const filter = arguments.values(instance.constant), in = arguments.values(7 * tile);
        // With this trim spare blocks have results, too.
        this->expectConvolved(instance, arguments.values(4 * tile + 1), in, filter,
                              {0, 0, 0, 0, 0, 2 * tile, true}, limit);
    }
}

/// Of numbers whose sums are exact, however the filter is cut.
TYPED_TEST(ConvolutionVectors, InPiecesAreThoseOfTheWholeFilter) {
    using T = TypeParam;
    auto const instances = vectorInstances<T>();
    auto const& shortest = instances.front();
    auto const in = testing::wholeValues<T>(3000, 1), filter = testing::wholeValues<T>(161, 2);
    unsigned long const trim = 13;
    Elements<T> const out(in.size() + filter.size() - 20);
    OffsetsAndSzs const whole{0, out.size(), in.size(), 0, 0, trim, true};
    OffsetsAndSzs beginning = whole;
    beginning.inStart = trim;
    Elements<T> const expected = convolved<T>(out, in, filter, filter.size(), beginning);
    for (unsigned long way = 0; way < 6; ++way) {
        DeviceArray<T> o(out.size()), i(in), f(filter);
        OffsetsAndSzs piece = whole;
        for (unsigned long next = way; piece.filterOffset < filter.size(); ++next) {
            unsigned long const left = filter.size() - piece.filterOffset;
            auto const* instance = &instances[next % instances.size()];
            unsigned long numTaps = instance->constant + way % 3;
            if (left <= mostTaps<T>(shortest)) {
                instance = &shortest;
                numTaps = left;
            } else if (numTaps + shortest.constant > left) {
                instance = &shortest;
                numTaps = shortest.constant;
            }
            piece.extraTaps = numTaps - instance->constant;
            piece.inStart = trim > piece.filterOffset ? trim - piece.filterOffset : 0;
            ASSERT_EQ(cudaSuccess, instance->call(nullptr, o.data(), i.data(), f.data(), piece));
            piece.filterOffset += numTaps;
            piece.firstPiece = false;
        }
        expectSameValues(expected, o.values());
    }
}

}  // namespace
}  // namespace gpuruntime
