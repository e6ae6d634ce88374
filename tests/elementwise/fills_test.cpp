#include <gpuruntime/fills.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
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

// A family and its invokers hold nothing, and the operator returns nothing.
template <class Family, class T, class... Arguments>
constexpr bool isStatelessAndSilent =
    std::conjunction_v<std::is_empty<Family>, std::is_empty<typename Family::template Invoker<T>>,
                       std::is_void<std::invoke_result_t<typename Family::template Invoker<T> const,
                                                         CUstream_st*, unsigned long, T*, Arguments...>>>;
static_assert(isStatelessAndSilent<Eye, double, unsigned long>);
static_assert(isStatelessAndSilent<GenericOnes, unsigned long, unsigned long>);
static_assert(isStatelessAndSilent<FillArrayWithRunningIndex, double, unsigned long, unsigned long, double>);
static_assert(isStatelessAndSilent<movfun::FillMovVector, double, double const*, unsigned long, unsigned long,
                                   unsigned long, double>);

// --- Eye ---

template <class T>
class EyeOf : public ::testing::Test {
  protected:
    static T one() {
        if constexpr (internal::isComplex<T>) {
            return {1, 0};
        } else {
            return T(1);
        }
    }

    // The diagonal is one and everything else keeps what it was.
    static void expectDiagonal(unsigned long n, unsigned long leadingDimension) {
        Elements<T> expected = testing::randomValues<T>(n == 0 ? 5 : (n - 1) * (leadingDimension + 1) + 3);
        DeviceArray<T> out(expected);
        Eye::Invoker<T>()(nullptr, n, out.data(), leadingDimension);
        EXPECT_EQ(cudaSuccess, cudaGetLastError());
        for (unsigned long i = 0; i < n; ++i) expected[i * (leadingDimension + 1)] = one();
        testing::expectSameBits(expected, out.values());
    }
};
TYPED_TEST_SUITE(EyeOf, testing::TestTypes<internal::All>);

TYPED_TEST(EyeOf, WritesTheDiagonalAlone) {
    for (unsigned long n : {0ul, 1ul, 2ul, 16ul, 255ul, 256ul, 257ul, 600ul}) {
        this->expectDiagonal(n, 4);
        this->expectDiagonal(n, 0);
        this->expectDiagonal(n, n + 1);
    }
}

TYPED_TEST(EyeOf, FoldsALongGrid) {
    testing::GridLimits const limits(2);
    this->expectDiagonal(1300, 3);
}

TEST(Eye, ExampleOfTheHeader) {
    DeviceArray<double> out(std::vector<double>(12, 0));
    Eye::Invoker<double>()(nullptr, 3, out.data(), 4);
    testing::expectSameBits(std::vector<double>{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}, out.values());
}

TEST(Eye, FormsOffsetsIn64Bits) {
    // With this leading dimension a step is 2^64 - 1, one back; cut to 32 bits it would be 4 GiB ahead.
    DeviceArray<signed char> out({7, 7, 7});
    Eye::Invoker<signed char>()(nullptr, 2, out.data() + 1, ~1ul);
    EXPECT_EQ((std::vector<signed char>{1, 1, 7}), out.values());
}

// --- GenericOnes ---

template <class T>
class GenericOnesOf : public ::testing::Test {};
using GenericOnesTypes = ::testing::Types<unsigned long, ulonglong2>;
TYPED_TEST_SUITE(GenericOnesOf, GenericOnesTypes);

TYPED_TEST(GenericOnesOf, FillsWithTheBitPattern) {
    TypeParam value;
    std::memset(&value, 0x3c, sizeof(value));
    reinterpret_cast<unsigned char*>(&value)[0] = 1;
    reinterpret_cast<unsigned char*>(&value)[sizeof(value) - 1] = 2;
    for (unsigned long n : testing::boundarySizes()) {
        DeviceArray<TypeParam> out(n);
        GenericOnes::Invoker<TypeParam>()(nullptr, n, out.data(), value);
        EXPECT_EQ(cudaSuccess, cudaGetLastError());
        testing::expectSameBits(std::vector<TypeParam>(n, value), out.values());
    }
}

TYPED_TEST(GenericOnesOf, OfNoElementsWritesNothing) {
    DeviceArray<TypeParam> out(3);
    GenericOnes::Invoker<TypeParam>()(nullptr, 0, out.data(), TypeParam{});
    EXPECT_TRUE(out.untouched());
}

// --- FillArrayWithRunningIndex ---

template <class T>
class RunningIndexOf : public ::testing::Test {
  protected:
    static Elements<T> run(unsigned long n, unsigned long repeatEach, unsigned long numRuns, T offset) {
        DeviceArray<T> out(n);
        FillArrayWithRunningIndex::Invoker<T>()(nullptr, n, out.data(), repeatEach, numRuns, offset);
        EXPECT_EQ(cudaSuccess, cudaGetLastError());
        return out.values();
    }
    static Elements<T> reference(unsigned long n, unsigned int repeatEach, unsigned int numRuns, T offset) {
        Elements<T> values;
        for (unsigned int i = 0; i < n; ++i) {
            unsigned int const index = i % (repeatEach * numRuns) / repeatEach;
            if constexpr (std::is_same_v<T, int>) {
                values.push_back(static_cast<int>(index + static_cast<unsigned int>(offset)));
            } else {
                values.push_back(index + offset);
            }
        }
        return values;
    }
};
using RunningIndexTypes = ::testing::Types<int, double>;
TYPED_TEST_SUITE(RunningIndexOf, RunningIndexTypes);

TYPED_TEST(RunningIndexOf, ExampleOfTheHeader) {
    testing::expectSameBits(Elements<TypeParam>{1, 1, 2, 2, 3, 3, 1, 1}, this->run(8, 2, 3, 1));
}

TYPED_TEST(RunningIndexOf, AgreesWithTheReference) {
    for (unsigned int repeatEach : {1u, 2u, 3u, 7u, 64u, 1000u, 65536u, 2147483648u, 4294967295u}) {
        for (unsigned int numRuns : {1u, 2u, 3u, 5u, 641u, 65537u, 4294967295u}) {
            if (repeatEach * numRuns == 0) continue;
            for (TypeParam offset : {TypeParam(0), TypeParam(1), TypeParam(-5), TypeParam(2147483647)}) {
                testing::expectSameBits(this->reference(1500, repeatEach, numRuns, offset),
                                        this->run(1500, repeatEach, numRuns, offset));
            }
        }
    }
}

TYPED_TEST(RunningIndexOf, AgreesWithTheReferenceOverWholePeriods) {
    // Periods around the longest of the fast form, 2^21 - 256, and products that wrap to short ones.
    unsigned int const extents[][2] = {{1, 2096896}, {2096896, 1},   {1448, 1448},
                                       {1447, 1449}, {2096897, 1},   {1, 2096897},
                                       {3, 698965},  {65537, 65537}, {65536, 65536 + 1}};
    for (auto const& [repeatEach, numRuns] : extents) {
        testing::expectSameBits(this->reference(2200000, repeatEach, numRuns, TypeParam(3)),
                                this->run(2200000, repeatEach, numRuns, TypeParam(3)));
    }
}

TYPED_TEST(RunningIndexOf, AgreesWithTheReferenceAtAllSizes) {
    for (unsigned long n : testing::boundarySizes()) {
        testing::expectSameBits(this->reference(n, 3, 7, TypeParam(1)), this->run(n, 3, 7, TypeParam(1)));
    }
}

TYPED_TEST(RunningIndexOf, NarrowsItsExtentsTo32Bits) {
    unsigned long const high = 1ul << 32;
    testing::expectSameBits(this->run(100, 2, 3, TypeParam(1)),
                            this->run(100, high + 2, high + 3, TypeParam(1)));
}

TYPED_TEST(RunningIndexOf, SurvivesAProductOfZero) {
    this->run(100, 0, 3, TypeParam(1));
    this->run(100, 3, 0, TypeParam(1));
    this->run(100, 65536, 65536, TypeParam(1));
}

TYPED_TEST(RunningIndexOf, LargeDividendsDivideExactly) {
    // Past 2^22 elements every quotient of a few awkward divisors is still exact.
    unsigned long const n = 5000000;
    for (unsigned int repeatEach : {3u, 641u, 1000003u}) {
        testing::expectSameBits(this->reference(n, repeatEach, 7, TypeParam(0)),
                                this->run(n, repeatEach, 7, TypeParam(0)));
    }
}

// --- FillMovVector ---

template <class T>
class FillMovVectorOf : public ::testing::Test {
  protected:
    static Elements<T> run(Elements<T> const& out, Elements<double> const& positions, unsigned long length,
                           unsigned long windowBefore, unsigned long windowAfter, T fill) {
        DeviceArray<T> deviceOut(out);
        DeviceArray<double> devicePositions(positions);
        movfun::FillMovVector::Invoker<T>()(nullptr, out.size(), deviceOut.data(), devicePositions.data(),
                                            length, windowBefore, windowAfter, fill);
        EXPECT_EQ(cudaSuccess, cudaGetLastError());
        testing::expectSameBits(positions, devicePositions.values());
        return deviceOut.values();
    }
    static Elements<T> reference(Elements<T> out, Elements<double> const& positions, unsigned long length,
                                 unsigned long windowBefore, unsigned long windowAfter, T fill) {
        for (std::size_t i = 0; i < out.size(); ++i) {
            double const position = positions[i] - 1;
            unsigned long index = 0;
            if (position >= 0x1p64) {
                index = ~0ul;
            } else if (position > 0) {
                index = static_cast<unsigned long>(position);
            }
            if (index < windowBefore && index < length)
                out[i] = std::fma(T(windowBefore - index), fill, out[i]);
            unsigned long const fromEnd = length - index;
            if (index < length && fromEnd <= windowAfter) {
                out[i] = std::fma(T(windowAfter + 1 - fromEnd), fill, out[i]);
            }
        }
        return out;
    }
};
using FloatingReal = ::testing::Types<float, double>;
TYPED_TEST_SUITE(FillMovVectorOf, FloatingReal);

TYPED_TEST(FillMovVectorOf, ExampleOfTheHeader) {
    testing::expectSameBits(Elements<TypeParam>{2, 1, 0, 0, 1, 0},
                            this->run(Elements<TypeParam>(6, 0), {1, 2, 3, 4, 5, 6}, 5, 2, 1, 1));
}

TYPED_TEST(FillMovVectorOf, AddsBothEndsForAWindowWiderThanTheData) {
    // 3 slots before position 1 and 2 past the end: 10 + 3 * 2 + 2 * 2.
    testing::expectSameBits(Elements<TypeParam>{20}, this->run({10}, {1}, 2, 3, 3, 2));
}

TYPED_TEST(FillMovVectorOf, RoundsTheCountOfSlotsToTheElementType) {
    // 2^24 + 1 slots are 2^24 in `float`.
    bool const isFloat = std::is_same_v<TypeParam, float>;
    testing::expectSameBits(Elements<TypeParam>{isFloat ? TypeParam(50331648) : TypeParam(50331651)},
                            this->run({0}, {1}, 1, 16777217, 0, 3));
}

TYPED_TEST(FillMovVectorOf, CutsFractionsAndTakesWhatIsBelowOneAsOne) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    testing::expectSameBits(Elements<TypeParam>{2, 1, 2, 2, 2, 0},
                            this->run(Elements<TypeParam>(6, 0), {1.9, 2.9, 0, -7, nan, 1e30}, 5, 2, 1, 1));
}

TYPED_TEST(FillMovVectorOf, AgreesWithTheReference) {
    for (unsigned long n : testing::boundarySizes()) {
        Elements<TypeParam> const out = testing::mixedValues<TypeParam>(n);
        Elements<double> positions = testing::randomValues<double>(n);
        for (std::size_t i = 0; i < n; ++i) positions[i] = i % 9 == 0 ? positions[i] : 1.0 + i % 40;
        for (unsigned long length : {1ul, 5ul, 37ul}) {
            for (TypeParam fill :
                 {TypeParam(0.1), TypeParam(-3), std::numeric_limits<TypeParam>::infinity()}) {
                testing::expectSameValues(this->reference(out, positions, length, 3, 2, fill),
                                          this->run(out, positions, length, 3, 2, fill));
                testing::expectSameValues(this->reference(out, positions, length, 100, 0, fill),
                                          this->run(out, positions, length, 100, 0, fill));
                testing::expectSameValues(this->reference(out, positions, length, 0, 100, fill),
                                          this->run(out, positions, length, 0, 100, fill));
            }
        }
    }
}

TYPED_TEST(FillMovVectorOf, OfNoElementsWritesNothing) {
    DeviceArray<TypeParam> out(3);
    movfun::FillMovVector::Invoker<TypeParam>()(nullptr, 0, out.data(), nullptr, 5, 2, 1, TypeParam(1));
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    EXPECT_TRUE(out.untouched());
}

// --- Arrays larger than caches ---

/// Fills an array of more than 64 MiB that begins `offset` elements into an allocation; returns how many
/// elements differ from `expected(i)`.
template <class T, class Fill, class Expected>
unsigned long numWrong(unsigned long offset, Fill fill, Expected expected) {
    unsigned long const n = testing::largeCount<T>() + 300;
    DeviceArray<T> out(n + offset);
    fill(n, out.data() + offset);
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    auto const values = out.values();
    unsigned long wrong = 0;
    for (unsigned long i = 0; i < n; ++i) wrong += !testing::sameBits(expected(i), values[offset + i]);
    return wrong;
}

TEST(LargeFills, StoreEveryElement) {
    for (unsigned long offset : {0ul, 1ul}) {
        EXPECT_EQ(0u, numWrong<unsigned long>(
                          offset,
                          [](unsigned long n, auto* out) {
                              GenericOnes::Invoker<unsigned long>()(nullptr, n, out, 7);
                          },
                          [](unsigned long) { return 7ul; }));
        ulonglong2 const pair{7, 8};
        EXPECT_EQ(0u, numWrong<ulonglong2>(
                          offset,
                          [&](unsigned long n, auto* out) {
                              GenericOnes::Invoker<ulonglong2>()(nullptr, n, out, pair);
                          },
                          [&](unsigned long) { return pair; }));
        EXPECT_EQ(0u, numWrong<int>(
                          offset,
                          [](unsigned long n, auto* out) {
                              FillArrayWithRunningIndex::Invoker<int>()(nullptr, n, out, 3, 1000, -5);
                          },
                          [](unsigned long i) { return static_cast<int>(i / 3 % 1000) - 5; }));
    }
}

}  // namespace
}  // namespace gpuruntime
