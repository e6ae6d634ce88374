#include <gpuruntime/permute.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/large.hpp"
#include "tests/support/test_types.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;
using testing::Elements;
using testing::expectSameBits;
using Extents = std::vector<unsigned long>;

template <class T>
void permute(T* out, Extents const& outSizes, T const* in, Extents const& inSizes, Extents const& order,
             CUstream_st* stream = nullptr) {
    typename Permute::Invoker<T>()(stream, out, outSizes.size(), outSizes.data(), in, inSizes.size(),
                                   inSizes.data(), order.size(), order.data());
}

/// An entry beyond the input's dimensions names one of extent 1.
Extents outputSizes(Extents const& inSizes, Extents const& order) {
    Extents sizes;
    for (unsigned long dimension : order)
        sizes.push_back(dimension <= inSizes.size() ? inSizes[dimension - 1] : 1);
    return sizes;
}

unsigned long numElements(Extents const& sizes) {
    return std::accumulate(sizes.begin(), sizes.end(), 1ul, std::multiplies<>());
}

/// Walks the output in memory order, like an odometer.
template <class E>
std::vector<E> permuted(std::vector<E> const& in, Extents const& inSizes, Extents const& order) {
    Extents const outSizes = outputSizes(inSizes, order);
    Extents strides;
    for (unsigned long dimension : order) {
        Extents::const_iterator const end =
            inSizes.begin() + static_cast<long>(std::min(dimension - 1, inSizes.size()));
        strides.push_back(std::accumulate(inSizes.begin(), end, 1ul, std::multiplies<>()));
    }
    Extents at(order.size(), 0);
    std::vector<E> out;
    for (unsigned long i = 0; i < in.size(); ++i) {
        out.push_back(in[std::inner_product(at.begin(), at.end(), strides.begin(), 0ul)]);
        for (unsigned long d = 0; d < at.size() && ++at[d] == outSizes[d]; ++d) at[d] = 0;
    }
    return out;
}

template <class T>
void expectPermuted(Extents const& inSizes, Extents const& order) {
    SCOPED_TRACE(::testing::PrintToString(inSizes) + " in the order " + ::testing::PrintToString(order));
    auto const values = testing::mixedValues<T>(numElements(inSizes));
    DeviceArray<T> in(values), out(values.size());
    permute(out.data(), outputSizes(inSizes, order), in.data(), inSizes, order);
    expectSameBits(permuted(values, inSizes, order), out.values());
    expectSameBits(values, in.values());
}

template <class T>
void expectPermutedInEveryOrder(Extents const& inSizes) {
    Extents order(inSizes.size());
    std::iota(order.begin(), order.end(), 1);
    do {
        expectPermuted<T>(inSizes, order);
    } while (std::next_permutation(order.begin(), order.end()) && !::testing::Test::HasFatalFailure());
}

template <class T>
class PermuteOf : public ::testing::Test {};
TYPED_TEST_SUITE(PermuteOf, testing::TestTypes<internal::All>);

TYPED_TEST(PermuteOf, MovesEveryElementBitForBit) {
    expectPermutedInEveryOrder<TypeParam>({5, 7, 3});
    expectPermutedInEveryOrder<TypeParam>({33, 17, 20});
    expectPermutedInEveryOrder<TypeParam>({2, 3, 1, 4});
    expectPermuted<TypeParam>({300, 3}, {1, 2});
    expectPermuted<TypeParam>({300, 70}, {2, 1});
}

// Of large arrays, tiles whose rows are whole cache lines are written another way than those at the edges.
TEST(Permute, OfLargeArraysWritesWholeTilesAndEdges) {
    constexpr unsigned long doubles = testing::largeCount<double>(), floats = testing::largeCount<float>(),
                            pairs = testing::largeCount<double2>();
    expectPermuted<double>({100, 512, doubles / 51'200 + 5}, {2, 1, 3});
    expectPermuted<double>({1024, 96, doubles / 98'304 + 3}, {2, 1, 3});
    expectPermuted<float>({33, 1040, (floats / 34'320 / 4 + 3) * 4}, {3, 2, 1});
    expectPermuted<double2>({65, 66, (pairs / 4'290 / 8 + 2) * 8}, {2, 3, 1});
}

TYPED_TEST(PermuteOf, WritesNothingWithoutElements) {
    DeviceArray<TypeParam> in(10), out(10);
    permute(out.data(), {0, 10}, in.data(), {10, 0}, {2, 1});
    permute(out.data(), {0, 10}, in.data(), {0, 10}, {1, 2});
    permute(out.data(), {0}, in.data(), {0}, {1});
    permute(out.data(), {1, 0, 1}, in.data(), {1, 0, 1}, {3, 2, 1});
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    EXPECT_TRUE(in.untouched());
    EXPECT_TRUE(out.untouched());
}

// One type for each element size.
template <class T>
class PermuteOfSize : public ::testing::Test {};
using TypeOfEachSize = ::testing::Types<bool, char2, float, double, double2>;
TYPED_TEST_SUITE(PermuteOfSize, TypeOfEachSize);

TYPED_TEST(PermuteOfSize, CopiesRunsOfEveryLength) {
    // Around a warp, a block, and the 64 blocks that a block of threads copies along the run.
    for (unsigned long const run :
         {2, 31, 32, 33, 255, 256, 257, 511, 512, 513, 16383, 16384, 16385, 20000}) {
        expectPermuted<TypeParam>({run}, {1});
        expectPermuted<TypeParam>({run, 3}, {1, 2});
    }
}

TYPED_TEST(PermuteOfSize, CopiesRunsAlongTheLongestDimension) {
    // Around the 64 runs that a block of threads copies.
    for (unsigned long const count : {2, 63, 64, 65, 127, 128, 129, 200}) {
        expectPermuted<TypeParam>({5, count, 3}, {1, 3, 2});
        expectPermuted<TypeParam>({40, 2, count}, {1, 3, 2});
        expectPermuted<TypeParam>({300, count, 2}, {1, 3, 2});
    }
    expectPermuted<TypeParam>({1000, 3}, {1, 2});  // a tie of 1000 / 256 with 3: along the run
    expectPermuted<TypeParam>({1000, 4}, {1, 2});
    expectPermuted<TypeParam>({2, 64, 64, 2}, {1, 3, 2, 4});  // a tie of later dimensions: the first of them
}

TYPED_TEST(PermuteOfSize, TurnsTilesOfEveryShape) {
    for (unsigned long const rows : {2, 3, 7, 8, 9, 15, 16, 17, 33}) {
        for (unsigned long const cols : {2, 4, 8, 9, 16, 17, 31, 40}) {
            expectPermuted<TypeParam>({rows, cols}, {2, 1});
            expectPermuted<TypeParam>({rows, 3, cols}, {3, 2, 1});
            expectPermuted<TypeParam>({rows, 2, cols}, {3, 1, 2});
            expectPermuted<TypeParam>({rows, cols, 3}, {2, 3, 1});
        }
    }
}

TYPED_TEST(PermuteOfSize, TurnsMoreTilesThanABlockWalks) {
    // Around the 128 tiles of 16 that a block walks, along either dimension.
    for (unsigned long const length : {2047, 2048, 2049, 2100, 4097}) {
        expectPermuted<TypeParam>({length, 3}, {2, 1});
        expectPermuted<TypeParam>({3, length}, {2, 1});
        expectPermuted<TypeParam>({length, 2, 18}, {3, 2, 1});
        expectPermuted<TypeParam>({18, 2, length}, {3, 2, 1});
    }
}

TYPED_TEST(PermuteOfSize, TakesFourDimensionsInEveryOrder) {
    expectPermutedInEveryOrder<TypeParam>({3, 19, 2, 5});
    expectPermutedInEveryOrder<TypeParam>({17, 2, 16, 9});
}

TYPED_TEST(PermuteOfSize, TakesEightDimensions) {
    std::mt19937 engine(7);
    Extents order{1, 2, 3, 4, 5, 6, 7, 8};
    for (int repeat = 0; repeat < 40; ++repeat) {
        Extents sizes;
        for (int d = 0; d < 8; ++d) sizes.push_back(1 + engine() % 4);
        std::shuffle(order.begin(), order.end(), engine);
        expectPermuted<TypeParam>(sizes, order);
    }
}

TYPED_TEST(PermuteOfSize, IgnoresSingletonsInEveryPlace) {
    for (unsigned long place = 0; place < 4; ++place) {
        Extents sizes{5, 18, 3};
        sizes.insert(sizes.begin() + static_cast<long>(place), 1);
        expectPermutedInEveryOrder<TypeParam>(sizes);
    }
    expectPermutedInEveryOrder<TypeParam>({1, 6, 1, 9});
    expectPermutedInEveryOrder<TypeParam>({1, 1, 7, 1});
    expectPermuted<TypeParam>({1, 5, 1}, {3, 2, 1});
}

TYPED_TEST(PermuteOfSize, TakesDimensionsThatTheInputLacks) {
    expectPermuted<TypeParam>({5, 3}, {3, 2, 1});
    expectPermuted<TypeParam>({5, 3}, {2, 1, 3});
    expectPermuted<TypeParam>({5, 3}, {2, 4, 3, 1});
    expectPermuted<TypeParam>({5, 1, 3}, {4, 3, 5, 2, 1});
}

TYPED_TEST(PermuteOfSize, CopiesASingleElement) {
    expectPermuted<TypeParam>({1}, {1});
    expectPermuted<TypeParam>({1, 1, 1}, {3, 1, 2});
}

TYPED_TEST(PermuteOfSize, FoldsAndStepsWhereTheGridExceedsALimit) {
    for (unsigned long const limit : {1, 2, 3, 5}) {
        for (bool const limitX : {true, false}) {
            SCOPED_TRACE(::testing::Message() << (limitX ? "x " : "y ") << limit);
            testing::GridLimits const limits(limitX ? limit : 65535, limitX ? 65535 : limit);
            if (limitX) {
                // Runs: 2, 3, 4 and 14 blocks, folded; limits of 3 and 5 give the last a spare block.
                expectPermuted<TypeParam>({5, 2, 13}, {1, 3, 2});
                expectPermuted<TypeParam>({1000, 3}, {1, 2});
                expectPermuted<TypeParam>({300, 3, 2}, {1, 3, 2});
                expectPermuted<TypeParam>({40, 65, 7}, {1, 3, 2});
            }
            // Tiles: 14 by 1, 2 by 11, 7 by 2, 1 by 22, 2 by 3 and 3 by 2 blocks, stepped in one direction.
            expectPermuted<TypeParam>({20, 7, 18}, {3, 2, 1});
            expectPermuted<TypeParam>({20, 11, 18}, {3, 1, 2});
            expectPermuted<TypeParam>({18, 7, 20}, {3, 2, 1});
            expectPermuted<TypeParam>({18, 11, 20}, {3, 1, 2});
            expectPermuted<TypeParam>({5000, 20}, {2, 1});
            expectPermuted<TypeParam>({20, 5000}, {2, 1});
        }
    }
}

// For 5 by 5 blocks 2 by 2 walk the diagonals of 8 by 8. Past the 25th numbers wrap around: all are met, and
// what one block has written another writes again.
TYPED_TEST(PermuteOfSize, StepsInBothDirectionsWhereBlocksMeetTheSame) {
    testing::GridLimits const limits(2, 2);
    expectPermuted<TypeParam>({65, 5, 65}, {3, 2, 1});
}

TYPED_TEST(PermuteOfSize, StepsInBothDirections) {
    testing::GridLimits const limits(1, 1);
    // One block does the work of 3 by 3. It walks the diagonal of 4 by 4, along which numbers grow by 5: past
    // the last of the nine they wrap around, and meet all.
    expectPermuted<TypeParam>({33, 3, 33}, {3, 2, 1});

    // Of 7 by 2 blocks it meets those of even numbers. A block turns up to 16 columns of a page.
    Extents const inSizes{18, 7, 20}, outSizes{20, 7, 18}, order{3, 2, 1};
    auto const values = testing::randomValues<TypeParam>(numElements(inSizes));
    auto expected = permuted(values, inSizes, order);
    for (unsigned long i = 0; i < expected.size(); ++i) {
        unsigned long const page = i / 20 % 7, column = i / (20 * 7);
        if ((page + column / 16) % 2 != 0) expected[i] = {};
    }
    DeviceArray<TypeParam> in(values), out(Elements<TypeParam>(values.size()));
    permute(out.data(), outSizes, in.data(), inSizes, order);
    expectSameBits(expected, out.values());
}

TEST(Permute, OfTheDocumentedExample) {
    DeviceArray<double> in({1, 2, 3, 4, 5, 6}), out(6);
    permute(out.data(), {3, 2, 1}, in.data(), {1, 2, 3}, {3, 2, 1});
    expectSameBits({1, 3, 5, 2, 4, 6}, out.values());
}

TEST(Permute, OfThreeDimensions) {
    // in(r, c, p) = 100 r + 10 c + p
    DeviceArray<int> in({111, 211, 121, 221, 131, 231, 112, 212, 122, 222, 132, 232}), out(12);
    permute(out.data(), {3, 2, 2}, in.data(), {2, 3, 2}, {2, 3, 1});
    expectSameBits({111, 121, 131, 112, 122, 132, 211, 221, 231, 212, 222, 232}, out.values());
}

TEST(Permute, OfManySingletonsNeedsNoTableEntries) {
    Extents sizes(40, 1), order(40);
    std::iota(order.rbegin(), order.rend(), 1);
    sizes[5] = 6;
    sizes[17] = 20;
    sizes[39] = 9;
    expectPermuted<float>(sizes, order);
}

TEST(Permute, WritesNothingWithMoreThan32Dimensions) {
    DeviceArray<float> in(10), out(10);
    Extents const sizes(33, 2);
    Extents order(33);
    std::iota(order.begin(), order.end(), 1);
    permute(out.data(), sizes, in.data(), sizes, order);
    EXPECT_EQ(cudaErrorInvalidValue, cudaGetLastError());
    EXPECT_TRUE(out.untouched());
}

TEST(Permute, RunsOnAStream) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    auto const values = testing::randomValues<double>(20 * 30 * 4);
    DeviceArray<double> in(values), out(values.size());
    permute(out.data(), {4, 30, 20}, in.data(), {20, 30, 4}, {3, 2, 1}, stream);
    expectSameBits(permuted(values, {20, 30, 4}, {3, 2, 1}), out.values());
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

}  // namespace
}  // namespace gpuruntime
