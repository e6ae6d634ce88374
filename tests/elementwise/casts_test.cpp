#include <gpuruntime/casts.hpp>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/exact.hpp"
#include "tests/support/large.hpp"
#include "tests/support/test_types.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime {
namespace {

using testing::Bytes;
using testing::DeviceArray;
using testing::ElementType;
using testing::Exact;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

static_assert(std::is_void_v<std::invoke_result_t<CastToReal::Invoker<int, double> const, CUstream_st*,
                                                  unsigned long, int*, double const*>>);
static_assert(std::is_same_v<cudaError, std::invoke_result_t<CastToReal::Invoker<int, int> const,
                                                             CUstream_st*, unsigned long, int*, int const*>>);

/// A cast of one pair of types, dense and in blocks.
struct Pair {
    ElementType target, source;
    void (*dense)(unsigned long n, void* out, void const* in);
    void (*blocks)(unsigned long n, void* out, void const* in, unsigned long offset, unsigned long stride,
                   unsigned long length);
};

template <class Dense, class Blocks, class Target, class Source>
Pair pairOf() {
    return {testing::elementType<Target>(), testing::elementType<Source>(),
            [](unsigned long n, void* out, void const* in) {
                typename Dense::template Invoker<Target, Source>()(nullptr, n, static_cast<Target*>(out),
                                                                   static_cast<Source const*>(in));
            },
            [](unsigned long n, void* out, void const* in, unsigned long offset, unsigned long stride,
               unsigned long length) {
                typename Blocks::template Invoker<Target, Source>()(nullptr, n, static_cast<Target*>(out),
                                                                    static_cast<Source const*>(in), offset,
                                                                    stride, length);
            }};
}

template <class Dense, class Blocks, class Target, class... Source>
void addPairs(std::vector<Pair>& pairs, internal::TypeList<Source...>) {
    (pairs.push_back(pairOf<Dense, Blocks, Target, Source>()), ...);
}

template <class Dense, class Blocks, class... Target, class SourceList>
void addPairs(std::vector<Pair>& pairs, internal::TypeList<Target...>, SourceList sources) {
    (addPairs<Dense, Blocks, Target>(pairs, sources), ...);
}

std::vector<Pair> const& allPairs() {
    static std::vector<Pair> const pairs = [] {
        std::vector<Pair> all;
        addPairs<CastToReal, CastBlockToReal>(all, internal::RealNumeric{}, internal::Real{});
        addPairs<CastToComplex, CastBlockToComplex>(all, internal::Complex{}, internal::All{});
        return all;
    }();
    return pairs;
}

/// `n` elements of the pair's source as they are in its target.
Bytes expectedCast(Pair const& pair, Bytes const& in) {
    ElementType const target = pair.target.part(), source = pair.source.part();
    bool const isCopy = target == source;
    Bytes expected;
    for (std::size_t i = 0; i < in.size(); i += pair.source.size()) {
        for (std::size_t p = 0; p < pair.target.numParts; ++p) {
            if (p >= pair.source.numParts) {
                testing::appendPart(expected, target, 0);
                continue;
            }
            auto const* const part = in.data() + i + p * source.partSize;
            Exact const value = testing::exactValue(source, part);
            testing::appendPart(expected, target,
                                isCopy              ? testing::loadBits(source, part)
                                : target.isFloating ? testing::floatingBits(target, value)
                                                    : testing::integerBits(target, value));
        }
    }
    return expected;
}

void expectSameParts(ElementType type, Bytes const& expected, Bytes const& actual, Pair const& pair) {
    ASSERT_EQ(expected.size(), actual.size());
    if (pair.target == pair.source) {
        ASSERT_TRUE(expected == actual) << "a copy changes bits";  // NaNs keep their payloads
    }
    for (std::size_t at = 0; at < expected.size(); at += type.partSize) {
        ASSERT_TRUE(testing::samePart(type, expected.data() + at, actual.data() + at))
            << "part " << at / type.partSize << ": expected bits " << std::hex
            << testing::loadBits(type, expected.data() + at) << ", got "
            << testing::loadBits(type, actual.data() + at) << std::dec << ", from "
            << (pair.source.isFloating ? "floating " : "integer ") << pair.source.partSize << " to "
            << (type.isFloating ? "floating " : "integer ") << type.partSize;
    }
}

void expectDense(Pair const& pair, Bytes const& values) {
    unsigned long const n = values.size() / pair.source.size();
    DeviceArray<unsigned char> in(values), out(n * pair.target.size());
    pair.dense(n, out.data(), in.data());
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    expectSameParts(pair.target, expectedCast(pair, values), out.values(), pair);
    EXPECT_EQ(values, in.values());
}

TEST(Casts, AgreeWithExactArithmeticOverAllPairs) {
    for (Pair const& pair : allPairs()) {
        expectDense(pair, testing::telltaleElements(pair.source));
        if (HasFatalFailure()) return;
    }
}

/// The elements of which no part is above a bound, either sign; NaNs are kept.
Bytes elementsUpTo(double bound, ElementType type, Bytes const& elements) {
    Bytes kept;
    for (std::size_t at = 0; at < elements.size(); at += type.size()) {
        bool isKept = true;
        for (std::size_t p = 0; p < type.numParts; ++p) {
            Exact const value = testing::exactValue(type.part(), &elements[at + p * type.partSize]);
            isKept &= value.kind == Exact::notANumber ||
                      (value.kind == Exact::finite &&
                       std::ldexp(static_cast<double>(value.magnitude), value.exponent) <= bound);
        }
        if (isKept) kept.insert(kept.end(), &elements[at], &elements[at] + type.size());
    }
    return kept;
}

// Where all numbers are small there are quicker ways to integers, to narrow ones and to wide.
TEST(Casts, AgreeWithExactArithmeticWhereNoNumberIsLarge) {
    for (Pair const& pair : allPairs()) {
        if (!pair.source.isFloating || pair.target.isFloating) continue;
        for (double const bound : {0x1p30, 0x1p31, 0x1p50, 0x1p53}) {
            Bytes const values = elementsUpTo(bound, pair.source, testing::telltaleElements(pair.source));
            ASSERT_GE(values.size(), 300 * pair.source.size());
            expectDense(pair, values);
            if (HasFatalFailure()) return;
        }
    }
}

/// Runs a cast in blocks over elements that hold every rule of its pair.
void expectBlocks(Pair const& pair, unsigned long n, unsigned int offset, unsigned int stride,
                  unsigned int length, std::size_t outLength) {
    Bytes const parts = testing::telltaleParts(pair.source);
    Bytes const values = testing::elementsOf(pair.source, parts, n);
    Bytes const dense = expectedCast(pair, values);
    std::size_t const size = pair.target.size();
    Bytes expected(outLength * size, 0x5a);
    for (unsigned int i = 0; i < n; ++i) {
        unsigned int const block = i / length;
        unsigned int const to = block * stride + offset + (i - block * length);
        ASSERT_LT(to, outLength);
        std::memcpy(expected.data() + to * size, dense.data() + i * size, size);
    }
    DeviceArray<unsigned char> in(values), out(Bytes(expected.size(), 0x5a));
    unsigned long const high = 1ul << 32;  // of which the extents keep nothing
    pair.blocks(n, out.data(), in.data(), offset + high, stride + 3 * high, length + 2 * high);
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    expectSameParts(pair.target, expected, out.values(), pair);
    EXPECT_EQ(values, in.values());
}

TEST(BlockCasts, AgreeWithExactArithmeticOverAllPairs) {
    for (Pair const& pair : allPairs()) {
        expectBlocks(pair, 777, 1, 5, 3, 1 + 5 * 259);
        if (HasFatalFailure()) return;
    }
}

TEST(BlockCasts, PlaceBlocksOfAnyLength) {
    for (Pair const& pair : allPairs()) {
        if (!pair.source.isFloating && pair.source.partSize != 1) continue;
        for (unsigned int length : {1u, 2u, 7u, 15u, 16u, 17u, 100u, 255u, 256u, 257u, 600u, 4294967295u}) {
            unsigned int const blocks = 1000 / length + 1;
            unsigned int const stride = length + 3;
            expectBlocks(pair, 1000, 2, stride, length, length > 1000 ? 1002 : 2ul + stride * blocks);
            expectBlocks(pair, 1000, 0, length, length, 1000);
            if (HasFatalFailure()) return;
        }
    }
}

TEST(BlockCasts, DescendWhereTheStrideWraps) {
    for (Pair const& pair : allPairs()) {
        if (pair.source.partSize != 4) continue;
        for (unsigned int length : {3u, 20u}) {
            unsigned int const blocks = (1000 + length - 1) / length, stride = length + 2;
            expectBlocks(pair, 1000, (blocks - 1) * stride, 0u - stride, length, blocks * stride);
            if (HasFatalFailure()) return;
        }
    }
}

TEST(BlockCasts, FoldALongGrid) {
    testing::GridLimits const limits(2);
    for (Pair const& pair : allPairs()) {
        if (pair.source.isLogical) expectBlocks(pair, 1300, 1, 5, 3, 1 + 5 * 434);
    }
}

template <class Family, class Target, class Source>
testing::Elements<Target> castOf(testing::Elements<Source> const& values) {
    DeviceArray<Source> in(values);
    DeviceArray<Target> out(values.size());
    static_cast<void>(
        typename Family::template Invoker<Target, Source>()(nullptr, values.size(), out.data(), in.data()));
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    return out.values();
}

template <class Target, class Source>
void expectReal(std::vector<Source> const& values, std::vector<Target> const& expected) {
    if constexpr (internal::isBuilt<Target> && internal::isBuilt<Source>) {
        testing::expectSameBits(expected, (castOf<CastToReal, Target, Source>(values)));
    }
}

TEST(CastToReal, ExampleOfTheHeader) {
    expectReal<int, double>({2.5, -2.5, 0.4, 3e9, nan, -0.5}, {3, -3, 0, 2147483647, 0, -1});
}

TEST(CastToReal, RoundsHalvesAwayFromZero) {
    expectReal<int, double>({2.5, -2.5, 1.5, 0.5, -0.5, 0.49999999999999994, -0.49999999999999994},
                            {3, -3, 2, 1, -1, 0, 0});
    expectReal<int, float>({2.5f, -2.5f, 0.5f, 0.49999997f, -0.49999997f, 8388607.5f, 8388609.0f},
                           {3, -3, 1, 0, 0, 8388608, 8388609});
    expectReal<long, double>({4503599627370495.5, 4503599627370497.0, -4503599627370495.5},
                             {4503599627370496, 4503599627370497, -4503599627370496});
}

TEST(CastToReal, SaturatesAndMakesNaNZero) {
    expectReal<int, double>({2147483647.5, -2147483648.5, 1e300}, {2147483647, -2147483648, 2147483647});
    expectReal<unsigned char, double>({inf, -inf, nan, 300.7, -1.2, 254.5}, {255, 0, 0, 255, 0, 255});
    expectReal<signed char, float>({127.5f, -128.5f, 1e30f, -1e30f}, {127, -128, 127, -128});
    expectReal<unsigned long, double>({inf, -inf, nan, 1e300, -1}, {~0ul, 0, 0, ~0ul, 0});
    expectReal<long, double>({inf, -inf, nan, 1.5e19}, {LONG_MAX, LONG_MIN, 0, LONG_MAX});
    expectReal<unsigned long, float>({1.8446744e19f, 1.8446742974197924e19f}, {~0ul, 18446742974197923840ul});
}

TEST(CastToReal, SaturatesIntegers) {
    expectReal<int, unsigned int>({4294967295u, 2147483647u}, {2147483647, 2147483647});
    expectReal<unsigned long, int>({-1, 5}, {0, 5});
    expectReal<long, unsigned long>({~0ul, 1ul << 63, 7}, {LONG_MAX, LONG_MAX, 7});
    expectReal<signed char, int>({128, -129, 127}, {127, -128, 127});
    expectReal<unsigned short, signed char>({-1, 127}, {0, 127});
}

TEST(CastToReal, RoundsToNearestEvenInFloatingTypes) {
    expectReal<float, double>({1e300, -1e300, 1 + 0x1p-24, 1 + 3 * 0x1p-24},
                              {HUGE_VALF, -HUGE_VALF, 1, 1 + 0x1p-22f});
    // Rounded by way of double these would end in a tie.
    expectReal<float, unsigned long>({(1ul << 63) + (1ul << 39) + 1, (1ul << 63) + (1ul << 39)},
                                     {0x1.000002p63f, 0x1p63f});
    expectReal<float, long>({(1l << 62) + (1l << 38) + 1, -(1l << 62) - (1l << 38) - 1},
                            {0x1.000002p62f, -0x1.000002p62f});
    expectReal<double, unsigned long>({~0ul, (1ul << 53) + 1, (1ul << 53) + 3}, {0x1p64, 0x1p53, 0x1p53 + 4});
}

TEST(CastToReal, TakesAnyByteButZeroAsTrue) {
    Bytes const bytes{0, 1, 2, 128, 255};
    DeviceArray<unsigned char> in(bytes);
    DeviceArray<int> out(bytes.size());
    CastToReal::Invoker<int, bool>()(nullptr, bytes.size(), out.data(), reinterpret_cast<bool*>(in.data()));
    EXPECT_EQ((std::vector<int>{0, 1, 1, 1, 1}), out.values());
}

TEST(CastToComplex, ExampleOfTheHeader) {
    testing::expectSameBits(testing::Elements<char2>{{2, 127}, {-1, 0}},
                            (castOf<CastToComplex, char2, double2>({{1.5, 200}, {-0.5, nan}})));
}

TEST(CastToComplex, GivesRealValuesAPositiveZeroForTheirImaginaryPart) {
    testing::expectSameBits(testing::Elements<float2>{{-2, 0}, {0, 0}},
                            (castOf<CastToComplex, float2, int>({-2, 0})));
}

TEST(CastBlockToReal, ExampleOfTheHeader) {
    DeviceArray<double> in({1, 2, 3, 4, 5, 6});
    DeviceArray<int> out(std::vector<int>(10, -7));
    CastBlockToReal::Invoker<int, double>()(nullptr, 6, out.data(), in.data(), 1, 5, 3);
    EXPECT_EQ((std::vector<int>{-7, 1, 2, 3, -7, -7, 4, 5, 6, -7}), out.values());
}

TEST(Casts, OfAnySizeWriteNothingElse) {
    for (Pair const& pair : allPairs()) {
        if (pair.target.partSize == 2 || pair.source.partSize == 2) continue;
        Bytes const parts = testing::telltaleParts(pair.source);
        for (unsigned long n : {1ul, 2ul, 255ul, 256ul, 257ul, 513ul}) {
            Bytes const values = testing::elementsOf(pair.source, parts, n);
            DeviceArray<unsigned char> in(values), out(n * pair.target.size());
            pair.dense(n, out.data(), in.data());
            expectSameParts(pair.target, expectedCast(pair, values), out.values(), pair);
            if (HasFatalFailure()) return;
        }
        DeviceArray<unsigned char> none(3 * pair.target.size());
        pair.dense(0, none.data(), none.data());
        pair.blocks(0, none.data(), none.data(), 0, 0, 0);
        EXPECT_TRUE(none.untouched());
    }
}

TEST(Casts, FoldALongGrid) {
    testing::GridLimits const limits(2);
    for (Pair const& pair : allPairs()) {
        if (!pair.source.isLogical) continue;
        Bytes const values = testing::elementsOf(pair.source, {0, 1, 3, 0, 255}, 1300);
        DeviceArray<unsigned char> in(values), out(1300 * pair.target.size());
        pair.dense(1300, out.data(), in.data());
        expectSameParts(pair.target, expectedCast(pair, values), out.values(), pair);
    }
}

// Arrays that are larger than the caches may be written in another way, which depends on alignment.
TEST(Casts, OfLargeArraysAreWrittenOnceAndWhole) {
    unsigned long const n = testing::largeCount<double>() + 1000;
    testing::Elements<signed char> const values = testing::randomValues<signed char>(n);
    for (unsigned long shift : {0ul, 8ul, 1ul}) {
        DeviceArray<signed char> in(values);
        DeviceArray<double> out(n + shift);
        CastToReal::Invoker<double, signed char>()(nullptr, n, out.data() + shift, in.data());
        auto const actual = out.values();
        for (unsigned long i = 0; i < n; ++i) ASSERT_EQ(values[i], actual[i + shift]) << i;
    }
}

// --- Casts to logical ---

/// A cast of one type to logical; without `nanValue` NaN is reported.
struct ToBool {
    ElementType source;
    void (*reporting)(unsigned long n, bool* out, void const* in);
    void (*allowing)(unsigned long n, bool* out, void const* in, bool nanValue);
};

template <class Source>
ToBool toBoolOf() {
    ToBool result{testing::elementType<Source>(), nullptr,
                  [](unsigned long n, bool* out, void const* in, bool nanValue) {
                      CastToBoolAllowNaN::Invoker<Source>()(nullptr, n, out, static_cast<Source const*>(in),
                                                            nanValue);
                  }};
    if constexpr (!internal::isComplex<Source>) {
        result.reporting = [](unsigned long n, bool* out, void const* in) {
            EXPECT_EQ(cudaSuccess,
                      CastToBool::Invoker<Source>()(nullptr, n, out, static_cast<Source const*>(in)));
        };
    }
    return result;
}

template <class... Source>
std::vector<ToBool> allToBool(internal::TypeList<Source...>) {
    return {toBoolOf<Source>()...};
}

std::vector<ToBool> const toBool =
    allToBool(internal::Concatenate<internal::RealNumeric, internal::Complex>{});

/// What is stored for each element if a NaN is stored as `nanValue`.
testing::Elements<bool> expectedLogicals(ElementType type, Bytes const& in, bool nanValue) {
    testing::Elements<bool> expected;
    for (std::size_t i = 0; i < in.size(); i += type.size()) {
        bool isOther = false, isNaN = false;
        for (std::size_t p = 0; p < type.numParts; ++p) {
            Exact const value = testing::exactValue(type, in.data() + i + p * type.partSize);
            isOther |= !value.isZero();
            isNaN |= value.kind == Exact::notANumber;
        }
        expected.push_back(isNaN ? nanValue : isOther);
    }
    return expected;
}

TEST(CastsToLogical, AgreeWithTheReferenceForAllTypes) {
    for (ToBool const& cast : toBool) {
        Bytes const values = testing::telltaleElements(cast.source);
        unsigned long const n = values.size() / cast.source.size();
        DeviceArray<unsigned char> in(values);
        for (bool nanValue : {false, true}) {
            DeviceArray<bool> out(n);
            cast.allowing(n, out.data(), in.data(), nanValue);
            testing::expectSameBits(expectedLogicals(cast.source, values, nanValue), out.values());
            EXPECT_EQ(values, in.values());
        }
        if (cast.reporting == nullptr) continue;
        DeviceArray<bool> out(n);
        cast.reporting(n, out.data(), in.data());
        EXPECT_EQ(cast.source.isFloating ? 1046u : 1000u, CastToBool().getErrorFlag(nullptr));
        testing::expectSameBits(expectedLogicals(cast.source, values, true), out.values());
        EXPECT_EQ(values, in.values());
    }
}

TEST(CastsToLogical, OfAnySizeWriteNothingElse) {
    for (ToBool const& cast : toBool) {
        Bytes const parts = testing::telltaleParts(cast.source);
        for (unsigned long n : {0ul, 1ul, 255ul, 256ul, 257ul, 1000ul}) {
            Bytes const values = testing::elementsOf(cast.source, parts, n);
            DeviceArray<unsigned char> in(values);
            DeviceArray<bool> out(n);
            cast.allowing(n, out.data(), in.data(), false);
            testing::expectSameBits(expectedLogicals(cast.source, values, false), out.values());
        }
    }
}

TEST(CastsToLogical, FoldALongGrid) {
    testing::GridLimits const limits(2);
    for (ToBool const& cast : toBool) {
        Bytes const values = testing::elementsOf(cast.source, testing::telltaleParts(cast.source), 1300);
        DeviceArray<unsigned char> in(values);
        DeviceArray<bool> allowed(1300), reported(1300);
        cast.allowing(1300, allowed.data(), in.data(), false);
        testing::expectSameBits(expectedLogicals(cast.source, values, false), allowed.values());
        if (cast.reporting == nullptr) continue;
        cast.reporting(1300, reported.data(), in.data());
        testing::expectSameBits(expectedLogicals(cast.source, values, true), reported.values());
    }
}

TEST(CastToBool, ExampleOfTheHeader) {
    DeviceArray<double> in({0, -0.0, 2, nan});
    DeviceArray<bool> out(4);
    EXPECT_EQ(cudaSuccess, CastToBool::Invoker<double>()(nullptr, 4, out.data(), in.data()));
    EXPECT_EQ((testing::Elements<bool>{false, false, true, true}), out.values());
    EXPECT_EQ(1046u, CastToBool().getErrorFlag(nullptr));
}

TEST(CastToBool, ReportsANaNInAnyPlace) {
    for (unsigned long place : {0ul, 255ul, 256ul, 999ul}) {
        testing::Elements<float> values(1000, 1);
        values[place] = static_cast<float>(-nan);
        DeviceArray<float> in(values);
        DeviceArray<bool> out(1000);
        EXPECT_EQ(cudaSuccess, CastToBool::Invoker<float>()(nullptr, 1000, out.data(), in.data()));
        EXPECT_EQ(1046u, CastToBool().getErrorFlag(nullptr));
        EXPECT_EQ(cudaSuccess, CastToBool::Invoker<float>()(nullptr, place, out.data(), in.data()));
        EXPECT_EQ(1000u, CastToBool().getErrorFlag(nullptr));
    }
}

TEST(CastToBool, ResetsTheWordWithoutElementsToo) {
    DeviceArray<double> in({nan});
    DeviceArray<bool> out(1);
    EXPECT_EQ(cudaSuccess, CastToBool::Invoker<double>()(nullptr, 1, out.data(), in.data()));
    EXPECT_EQ(cudaSuccess, CastToBool::Invoker<float>()(nullptr, 0, out.data(), nullptr));
    EXPECT_EQ(1000u, CastToBool().getErrorFlag(nullptr));
}

TEST(CastToBoolAllowNaN, ReportsNothing) {
    DeviceArray<double> in({nan, 1});
    DeviceArray<bool> out(2);
    EXPECT_EQ(cudaSuccess, CastToBool::Invoker<double>()(nullptr, 0, out.data(), in.data()));
    CastToBoolAllowNaN::Invoker<double>()(nullptr, 2, out.data(), in.data(), false);
    EXPECT_EQ(1000u, CastToBool().getErrorFlag(nullptr));
}

TEST(CastToBoolAllowNaN, ExampleOfTheHeader) {
    DeviceArray<double2> in({{nan, 1}, {0, 0}, {0, 3}});
    DeviceArray<bool> out(3);
    CastToBoolAllowNaN::Invoker<double2>()(nullptr, 3, out.data(), in.data(), false);
    EXPECT_EQ((testing::Elements<bool>{false, false, true}), out.values());
    CastToBoolAllowNaN::Invoker<double2>()(nullptr, 3, out.data(), in.data(), true);
    EXPECT_EQ((testing::Elements<bool>{true, false, true}), out.values());
}

}  // namespace
}  // namespace gpuruntime
