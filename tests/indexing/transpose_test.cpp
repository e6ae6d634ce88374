#include <gpuruntime/transpose.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <type_traits>
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

template <class T>
T flipped(T value) {
    if constexpr (std::is_floating_point_v<T>) {
        unsigned char bytes[sizeof(T)];
        std::memcpy(bytes, &value, sizeof(T));
        bytes[sizeof(T) - 1] ^= 0x80;
        std::memcpy(&value, bytes, sizeof(T));
        return value;
    } else {
        return static_cast<T>(0ul - static_cast<unsigned long>(value));
    }
}

template <class E>
E conjugate(E value) {
    if constexpr (internal::isComplex<E>) value.y = flipped(value.y);
    return value;
}

template <class E>
std::vector<E> conjugateEach(std::vector<E> values) {
    for (E& value : values) value = conjugate(value);
    return values;
}

template <class E>
std::vector<E> transposed(std::vector<E> const& in, unsigned long rows, unsigned long cols) {
    std::vector<E> out;
    for (unsigned long r = 0; r < rows; ++r) {
        for (unsigned long c = 0; c < cols; ++c) out.push_back(in[r + c * rows]);
    }
    return out;
}

struct Matrix {
    unsigned long rows, cols;
};

// Around the tile of 16, one of them large enough to be shared out among the cores.
std::vector<Matrix> const matrices{{1, 1},   {1, 2},   {2, 3},   {15, 16}, {16, 15},   {16, 16},  {17, 16},
                                   {16, 17}, {17, 17}, {31, 33}, {32, 48}, {1, 100},   {100, 1},  {5, 200},
                                   {200, 5}, {64, 64}, {49, 97}, {3, 1},   {211, 197}, {257, 129}};

std::vector<unsigned long> const edges{1, 2, 3, 15, 16, 17, 31, 32, 33, 48, 50, 100};

template <class T>
class TransposeOf : public ::testing::Test {};
TYPED_TEST_SUITE(TransposeOf, testing::TestTypes<internal::All>);

TYPED_TEST(TransposeOf, MovesEveryElementBitForBit) {
    for (Matrix const m : matrices) {
        SCOPED_TRACE(::testing::Message() << m.rows << " by " << m.cols);
        auto const values = testing::mixedValues<TypeParam>(m.rows * m.cols);
        DeviceArray<TypeParam> in(values), out(values.size());
        typename Transpose::Invoker<TypeParam>()(nullptr, out.data(), in.data(), m.rows, m.cols);
        expectSameBits(transposed(values, m.rows, m.cols), out.values());
        expectSameBits(values, in.values());
    }
}

TYPED_TEST(TransposeOf, ConjugatesComplexElementsAndNoOthers) {
    for (Matrix const m : matrices) {
        SCOPED_TRACE(::testing::Message() << m.rows << " by " << m.cols);
        auto const values = testing::mixedValues<TypeParam>(m.rows * m.cols);
        DeviceArray<TypeParam> in(values), out(values.size());
        typename CTranspose::Invoker<TypeParam>()(nullptr, out.data(), in.data(), m.rows, m.cols);
        expectSameBits(conjugateEach(transposed(values, m.rows, m.cols)), out.values());
        expectSameBits(values, in.values());
    }
}

/// `out` begins `offset` elements into its array, where what stands before and after must stay.
template <class T>
void expectLargeTransposed(unsigned long extraRows, unsigned long extraCols, unsigned long offset) {
    unsigned long const side = (testing::largeSide<T>() + 31) / 32 * 32;
    Matrix const m{side + extraRows, side + extraCols};
    SCOPED_TRACE(::testing::Message() << m.rows << " by " << m.cols << " at " << offset);
    constexpr unsigned long spare = 8;
    auto const values = testing::randomValues<T>(m.rows * m.cols), around = testing::randomValues<T>(spare);
    auto expected = conjugateEach(transposed(values, m.rows, m.cols));
    expected.insert(expected.begin(), around.begin(), around.begin() + static_cast<long>(offset));
    expected.insert(expected.end(), around.begin() + static_cast<long>(offset), around.end());
    auto before = expected;
    std::fill_n(before.begin() + static_cast<long>(offset), values.size(), T{});

    DeviceArray<T> in(values), out(before);
    CTranspose::Invoker<T>()(nullptr, out.data() + offset, in.data(), m.rows, m.cols);
    expectSameBits(expected, out.values());
    expectSameBits(values, in.values());
}

// Of large arrays, tiles whose rows are whole cache lines are written another way than those at the edges,
// and than those of arrays that do not begin with a line.
TEST(CTranspose, OfLargeMatricesWritesWholeTilesAndEdges) {
    expectLargeTransposed<float>(4, 16, 0);
    expectLargeTransposed<float>(4, 16, 1);
    expectLargeTransposed<float>(16, 4, 0);
    expectLargeTransposed<double>(5, 8, 0);
    expectLargeTransposed<double>(5, 8, 4);
    expectLargeTransposed<double2>(3, 4, 0);
    expectLargeTransposed<double2>(3, 4, 2);
    if constexpr (internal::isBuilt<short>) expectLargeTransposed<short>(8, 32, 0);
}

TYPED_TEST(TransposeOf, TransposesSquaresInPlace) {
    for (unsigned long const edge : edges) {
        SCOPED_TRACE(edge);
        auto const values = testing::mixedValues<TypeParam>(edge * edge);
        DeviceArray<TypeParam> data(values), conjugated(values);
        typename Transpose::Invoker<TypeParam>()(nullptr, data.data(), data.data(), edge, edge);
        typename CTranspose::Invoker<TypeParam>()(nullptr, conjugated.data(), conjugated.data(), edge, edge);
        expectSameBits(transposed(values, edge, edge), data.values());
        expectSameBits(conjugateEach(transposed(values, edge, edge)), conjugated.values());
    }
}

TYPED_TEST(TransposeOf, LeavesVectorsInPlaceAndConjugatesEachElementOnce) {
    for (unsigned long const length : edges) {
        auto const values = testing::mixedValues<TypeParam>(length);
        for (Matrix const m : {Matrix{1, length}, Matrix{length, 1}}) {
            SCOPED_TRACE(::testing::Message() << m.rows << " by " << m.cols);
            DeviceArray<TypeParam> data(values), conjugated(values);
            typename Transpose::Invoker<TypeParam>()(nullptr, data.data(), data.data(), m.rows, m.cols);
            typename CTranspose::Invoker<TypeParam>()(nullptr, conjugated.data(), conjugated.data(), m.rows,
                                                      m.cols);
            expectSameBits(values, data.values());
            expectSameBits(conjugateEach(values), conjugated.values());
        }
    }
}

TYPED_TEST(TransposeOf, StepsWhereTheGridExceedsALimit) {
    // 7 by 5 tiles. Limits of 1 and 2 need 7 and 4 steps in x, 5 and 4 in y, with spare blocks.
    constexpr unsigned long rows = 100, cols = 77;
    auto const values = testing::mixedValues<TypeParam>(rows * cols);
    for (unsigned long const limit : {1, 2}) {
        for (bool const limitX : {true, false}) {
            SCOPED_TRACE(::testing::Message() << (limitX ? "x " : "y ") << limit);
            testing::GridLimits const limits(limitX ? limit : 65535, limitX ? 65535 : limit);
            DeviceArray<TypeParam> in(values), out(values.size());
            typename CTranspose::Invoker<TypeParam>()(nullptr, out.data(), in.data(), rows, cols);
            expectSameBits(conjugateEach(transposed(values, rows, cols)), out.values());
        }
    }
}

TYPED_TEST(TransposeOf, StepsInPlaceWhereTheGridExceedsALimit) {
    for (unsigned long const limit : {1, 2, 3}) {
        for (bool const limitX : {true, false}) {
            for (Matrix const m : {Matrix{100, 100}, Matrix{1, 100}, Matrix{100, 1}}) {
                SCOPED_TRACE(::testing::Message()
                             << (limitX ? "x " : "y ") << limit << ": " << m.rows << " by " << m.cols);
                testing::GridLimits const limits(limitX ? limit : 65535, limitX ? 65535 : limit);
                auto const values = testing::mixedValues<TypeParam>(m.rows * m.cols);
                DeviceArray<TypeParam> data(values);
                typename CTranspose::Invoker<TypeParam>()(nullptr, data.data(), data.data(), m.rows, m.cols);
                expectSameBits(conjugateEach(transposed(values, m.rows, m.cols)), data.values());
            }
        }
    }
}

TYPED_TEST(TransposeOf, LaunchesNothingWithoutElements) {
    DeviceArray<TypeParam> in(10), out(10);
    for (Matrix const m : {Matrix{0, 10}, Matrix{10, 0}, Matrix{0, 0}}) {
        typename Transpose::Invoker<TypeParam>()(nullptr, out.data(), in.data(), m.rows, m.cols);
        typename CTranspose::Invoker<TypeParam>()(nullptr, out.data(), in.data(), m.rows, m.cols);
        typename Transpose::Invoker<TypeParam>()(nullptr, in.data(), in.data(), m.rows, m.cols);
        typename CTranspose::Invoker<TypeParam>()(nullptr, in.data(), in.data(), m.rows, m.cols);
    }
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    EXPECT_TRUE(in.untouched());
    EXPECT_TRUE(out.untouched());
}

template <class T>
Elements<T> ctransposed(Elements<T> const& values, unsigned long rows, unsigned long cols) {
    DeviceArray<T> in(values), out(values.size());
    typename CTranspose::Invoker<T>()(nullptr, out.data(), in.data(), rows, cols);
    return out.values();
}

TEST(Transpose, OfTheDocumentedExample) {
    DeviceArray<double> in({1, 2, 3, 4, 5, 6}), out(6);
    Transpose::Invoker<double>()(nullptr, out.data(), in.data(), 2, 3);
    expectSameBits({1, 3, 5, 2, 4, 6}, out.values());
}

TEST(CTranspose, OfTheDocumentedExample) {
    expectSameBits<float2>({{1, -2}, {3, -0.0f}, {5, 6}},
                           ctransposed<float2>({{1, 2}, {3, 0}, {5, -6}}, 1, 3));
}

TEST(CTranspose, OfAMatrixTransposesAndConjugates) {
    expectSameBits<double2>({{1, -2}, {5, -6}, {3, -4}, {7, -8}},
                            ctransposed<double2>({{1, 2}, {3, 4}, {5, 6}, {7, 8}}, 2, 2));
}

/// Whether the imaginary part `part` becomes `negated`, where the build has the type.
template <class T>
void expectNegated(internal::Part<T> part, internal::Part<T> negated) {
    if constexpr (internal::isBuilt<T>) {
        expectSameBits<T>({{7, negated}}, ctransposed<T>({{7, part}}, 1, 1));
    }
}

TEST(CTranspose, WrapsIntegerPartsAtTheirWidth) {
    expectNegated<uchar2>(1, 255);
    expectNegated<uchar2>(0, 0);
    expectNegated<uchar2>(255, 1);
    expectNegated<ushort2>(1, 65535);
    expectNegated<uint2>(1, 4294967295u);
    expectNegated<ulong2>(1, 18446744073709551615ul);
    expectNegated<char2>(-128, -128);
    expectNegated<char2>(127, -127);
    expectNegated<short2>(-32768, -32768);
    int const smallestInt = -2147483647 - 1;
    expectNegated<int2>(smallestInt, smallestInt);
    long const smallestLong = -9223372036854775807l - 1;
    expectNegated<long2>(smallestLong, smallestLong);
    expectNegated<long2>(5, -5);
}

TEST(CTranspose, KeepsTheRealPartsSignAndTheNaNsPayload) {
    unsigned int const signalling = 0x7f800123, flippedSignalling = 0xff800123, quiet = 0xffc00456,
                       flippedQuiet = 0x7fc00456, minusZero = 0x80000000;
    auto const parts = [](unsigned int x, unsigned int y) {
        unsigned int const bits[] = {x, y};
        float2 value;
        std::memcpy(&value, bits, sizeof value);
        return value;
    };
    expectSameBits<float2>(
        {parts(signalling, flippedSignalling), parts(quiet, flippedQuiet), parts(minusZero, 0)},
        ctransposed<float2>({parts(signalling, signalling), parts(quiet, quiet), parts(minusZero, minusZero)},
                            1, 3));
}

TEST(Transpose, VisitsOnlyADiagonalOfTilesWhereBothDirectionsStep) {
    // 2 by 2 tiles on a grid of one block, which takes 4 by 4 steps, along the diagonal.
    testing::GridLimits const limits(1, 1);
    auto const values = testing::randomValues<double>(32 * 32);
    DeviceArray<double> in(values), out(Elements<double>(32 * 32, 0.0));
    Transpose::Invoker<double>()(nullptr, out.data(), in.data(), 32, 32);
    auto expected = transposed(values, 32, 32);
    for (unsigned long c = 0; c < 32; ++c) {
        for (unsigned long r = 0; r < 32; ++r) {
            if (r / 16 != c / 16) expected[r + c * 32] = 0;
        }
    }
    expectSameBits(expected, out.values());
}

TEST(Transpose, RunsOnAStream) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    auto const values = testing::randomValues<float2>(40 * 30);
    DeviceArray<float2> in(values), out(values.size());
    CTranspose::Invoker<float2>()(stream, out.data(), in.data(), 40, 30);
    expectSameBits(conjugateEach(transposed(values, 40, 30)), out.values());
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

}  // namespace
}  // namespace gpuruntime
