#include <gpuruntime/ranges.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>
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

constexpr double inf = std::numeric_limits<double>::infinity();
double const nan = std::numeric_limits<double>::quiet_NaN();

using RealNumericTypes = testing::TestTypes<internal::ConvertedReal>;
using FloatingTypes = testing::TestTypes<internal::Floating>;

// A family and its invokers hold nothing, and the operator returns nothing.
template <class Family, class T, class... Arguments>
constexpr bool isStatelessAndSilent =
    std::conjunction_v<std::is_empty<Family>, std::is_empty<typename Family::template Invoker<T>>,
                       std::is_void<std::invoke_result_t<typename Family::template Invoker<T> const,
                                                         CUstream_st*, unsigned long, T*, Arguments...>>>;
static_assert(isStatelessAndSilent<Colon, double, double, double, double>);
static_assert(isStatelessAndSilent<IntColon, double, double, double>);
static_assert(isStatelessAndSilent<Linspace, double, double, double>);
static_assert(isStatelessAndSilent<Logspace, double, double, double>);

// --- References ---

// Clamped in a type that holds every 64-bit integer, then cut to the width of T.
template <class T>
T stored(double value) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(value);
    } else {
        using Wide =
            std::conditional_t<sizeof(T) == 8, T, std::conditional_t<std::is_signed_v<T>, int, unsigned int>>;
        if (std::isnan(value)) return 0;
        long double const low = std::numeric_limits<Wide>::min(), high = std::numeric_limits<Wide>::max();
        long double const whole = std::trunc(static_cast<long double>(value));
        return static_cast<T>(static_cast<Wide>(std::min(std::max(whole, low), high)));
    }
}

template <class T>
Elements<T> colonReference(unsigned int n, double first, double step, double last) {
    Elements<T> values;
    for (unsigned int i = 0; i < n; ++i) {
        double const fromStart = i * step, fromEnd = (n - 1 - i) * step;
        double value = i <= (n - 1) / 2 ? first + fromStart : last - fromEnd;
        if (n % 2 == 1 && i == (n - 1) / 2) {
            bool const sameSide = (first >= 0 && last >= 0) || (first <= 0 && last <= 0);
            value = sameSide ? std::fma(last - first, 0.5, first) : (first + last) * 0.5;
        }
        values.push_back(stored<T>(value));
    }
    return values;
}

template <class T>
Elements<T> intColonReference(unsigned int n, double first, double step) {
    Elements<T> values;
    for (unsigned int i = 0; i < n; ++i) values.push_back(stored<T>(std::fma(i, step, first)));
    return values;
}

double spacedReference(unsigned int i, unsigned int n, double first, double last) {
    double const difference = last - first;
    if (!std::isinf(difference)) return difference * i / (n - 1.0) + first;
    return std::fma(static_cast<double>(i), last / (n - 1.0), first) - i * (first / (n - 1.0));
}

float spacedReference(unsigned int i, unsigned int n, float first, float last) {
    float const difference = last - first;
    if (!std::isinf(difference)) {
        return static_cast<float>(static_cast<double>(difference) * i / (n - 1.0)) + first;
    }
    float const t1 = static_cast<float>(i * (static_cast<double>(last) / (n - 1.0)));
    float const t2 = static_cast<float>(i * (static_cast<double>(first) / (n - 1.0)));
    return (t1 + first) - t2;
}

template <class T>
T spacedElement(unsigned int i, unsigned int n, T first, T last) {
    if (i == n - 1) return last;
    if constexpr (internal::isComplex<T>) {
        return {spacedReference(i, n, first.x, last.x), spacedReference(i, n, first.y, last.y)};
    } else {
        return spacedReference(i, n, first, last);
    }
}

// --- Calls ---

template <class T>
Elements<T> colon(unsigned long n, double first, double step, double last) {
    DeviceArray<T> out(n);
    Colon::Invoker<T>()(nullptr, n, out.data(), first, step, last);
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    return out.values();
}

template <class T>
Elements<T> intColon(unsigned long n, double first, double step) {
    DeviceArray<T> out(n);
    IntColon::Invoker<T>()(nullptr, n, out.data(), first, step);
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    return out.values();
}

template <class T>
Elements<T> linspace(unsigned long n, T first, T last) {
    DeviceArray<T> out(n);
    Linspace::Invoker<T>()(nullptr, n, out.data(), first, last);
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    return out.values();
}

template <class T>
Elements<T> logspace(unsigned long n, T first, T last) {
    DeviceArray<T> out(n);
    Logspace::Invoker<T>()(nullptr, n, out.data(), first, last);
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    return out.values();
}

using Doubles = std::vector<double>;

// --- Colon ---

TEST(Colon, OfOneElementIsTheMeanOfTheEnds) {
    testing::expectSameBits(Doubles{2.5}, colon<double>(1, 1, 1, 4));
    testing::expectSameBits(Doubles{1.5}, colon<double>(1, -1, 1, 4));
}

TEST(Colon, OfTwoElementsIsTheEnds) { testing::expectSameBits(Doubles{1, 7}, colon<double>(2, 1, 100, 7)); }

TEST(Colon, FormsTheMiddleWithoutOverflow) {
    testing::expectSameBits(Doubles{-1e308, 0, 1e308}, colon<double>(3, -1e308, 1e308, 1e308));
    testing::expectSameBits(Doubles{1e308, 1.25e308, 1.5e308}, colon<double>(3, 1e308, 0.25e308, 1.5e308));
    testing::expectSameBits(Doubles{-1e308, -1.25e308, -1.5e308},
                            colon<double>(3, -1e308, -0.25e308, -1.5e308));
}

TEST(Colon, MeetsItsLastElementExactly) {
    Elements<double> const values = colon<double>(11, 0, 0.1, 1);
    EXPECT_EQ(0.0, values[0]);
    EXPECT_EQ(0.5, values[5]);
    EXPECT_EQ(1.0 - 3 * 0.1, values[7]);
    EXPECT_EQ(1.0, values[10]);
}

TEST(Colon, CountsBackFromTheEndInTheUpperHalf) {
    // The steps miss the last element by far: the halves show where the count turns.
    testing::expectSameBits(Doubles{0, 1, 99, 100}, colon<double>(4, 0, 1, 100));
    testing::expectSameBits(Doubles{0, 1, 50, 99, 100}, colon<double>(5, 0, 1, 100));
}

TEST(Colon, ExampleOfTheHeader) {
    Elements<double> const values = colon<double>(6, 0, 0.4, 2);
    testing::expectSameBits(Doubles{0, 0.4, 0.8, 2 - 0.8, 1.6, 2}, values);
}

TEST(Colon, OfNoElementsWritesNothing) {
    DeviceArray<double> out(4);
    Colon::Invoker<double>()(nullptr, 0, out.data(), 1, 2, 3);
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    EXPECT_TRUE(out.untouched());
}

TEST(Colon, NaNIsZeroInIntegers) {
    EXPECT_EQ((std::vector<int>{0, 0}), (colon<int>(2, nan, 1, nan)));
    EXPECT_EQ((std::vector<long>{0, 0}), (colon<long>(2, nan, 1, nan)));
    EXPECT_EQ((std::vector<unsigned long>{0, 0}), (colon<unsigned long>(2, nan, 1, nan)));
    EXPECT_EQ((std::vector<unsigned int>{0, 0}), (colon<unsigned int>(2, nan, 1, nan)));
    EXPECT_EQ((std::vector<short>{0, 0}), (colon<short>(2, nan, 1, nan)));
}

TEST(Colon, NarrowIntegersKeepTheLowBytesOfTheSaturated32Bits) {
    EXPECT_EQ((std::vector<unsigned char>{44, 255}), (colon<unsigned char>(2, 300, 1, 1e10)));
    EXPECT_EQ((std::vector<signed char>{44, -1}), (colon<signed char>(2, 300, 1, 1e10)));
    EXPECT_EQ((std::vector<signed char>{-44, 0}), (colon<signed char>(2, -300, 1, -1e10)));
    EXPECT_EQ((std::vector<unsigned short>{0, 65535}), (colon<unsigned short>(2, -7, 1, inf)));
}

TEST(Colon, WideIntegersSaturate) {
    EXPECT_EQ((std::vector<int>{-2147483647 - 1, 2147483647}), (colon<int>(2, -1e10, 1, 1e10)));
    EXPECT_EQ((std::vector<unsigned int>{0, 4294967295u}), (colon<unsigned int>(2, -1, 1, 1e10)));
    EXPECT_EQ((std::vector<long>{-9223372036854775807l - 1, 9223372036854775807l}),
              (colon<long>(2, -inf, 1, 1e19)));
    EXPECT_EQ((std::vector<unsigned long>{0, 18446744073709551615ul}),
              (colon<unsigned long>(2, -inf, 1, 1e20)));
    EXPECT_EQ((std::vector<unsigned long>{9223372036854775808ul, 18446744073709549568ul}),
              (colon<unsigned long>(2, 0x1p63, 1, 18446744073709549568.0)));
}

template <class T>
class ColonOf : public ::testing::Test {};
TYPED_TEST_SUITE(ColonOf, RealNumericTypes);

TYPED_TEST(ColonOf, AgreesWithTheReferenceAtAllSizes) {
    for (unsigned long n : testing::boundarySizes()) {
        auto const count = static_cast<unsigned int>(n);
        testing::expectSameBits(colonReference<TypeParam>(count, 0, 1, n - 1.0),
                                colon<TypeParam>(n, 0, 1, n - 1.0));
        testing::expectSameBits(colonReference<TypeParam>(count, -3.7, 0.3, 1000.1),
                                colon<TypeParam>(n, -3.7, 0.3, 1000.1));
        testing::expectSameBits(colonReference<TypeParam>(count, 4e9, -1e7, -5e9),
                                colon<TypeParam>(n, 4e9, -1e7, -5e9));
    }
}

TYPED_TEST(ColonOf, AgreesWithTheReferenceOnSpecialEnds) {
    for (double first : testing::specialReals<double>()) {
        for (double last : testing::specialReals<double>()) {
            for (double step : {0.0, 1.0, -0.3, inf, nan}) {
                for (unsigned int n : {1u, 2u, 3u, 6u, 7u}) {
                    testing::expectSameValues(colonReference<TypeParam>(n, first, step, last),
                                              colon<TypeParam>(n, first, step, last));
                }
            }
        }
    }
}

TYPED_TEST(ColonOf, FoldsALongGrid) {
    testing::GridLimits const limits(3);
    testing::expectSameBits(colonReference<TypeParam>(2000, 1, 0.5, 1000),
                            colon<TypeParam>(2000, 1, 0.5, 1000));
}

// --- IntColon ---

TEST(IntColon, ExampleOfTheHeader) {
    EXPECT_EQ((std::vector<unsigned char>{250, 4}), (intColon<unsigned char>(2, 250, 10)));
}

TEST(IntColon, RoundsOnce) {
    // 3 * (1/3 rounded) - 1 is 0 in two roundings and -2^-54 in one.
    testing::expectSameBits(Doubles{-1, 1.0 / 3 - 1, std::fma(2.0, 1.0 / 3, -1.0), -0x1p-54},
                            intColon<double>(4, -1, 1.0 / 3));
}

template <class T>
class IntColonOf : public ::testing::Test {};
TYPED_TEST_SUITE(IntColonOf, RealNumericTypes);

TYPED_TEST(IntColonOf, AgreesWithTheReference) {
    for (unsigned long n : testing::boundarySizes()) {
        for (double first : {0.0, -100.0, 1e10, -1e10, 0.1, nan, inf}) {
            for (double step : {1.0, -7.0, 1e8, 0.1, inf}) {
                testing::expectSameValues(
                    intColonReference<TypeParam>(static_cast<unsigned int>(n), first, step),
                    intColon<TypeParam>(n, first, step));
            }
        }
    }
}

TYPED_TEST(IntColonOf, OfNoElementsWritesNothing) {
    DeviceArray<TypeParam> out(4);
    IntColon::Invoker<TypeParam>()(nullptr, 0, out.data(), 1, 2);
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    EXPECT_TRUE(out.untouched());
}

TEST(Ranges, RunFromSeveralThreadsOnTheirOwnStreams) {
    unsigned long const n = 100000;
    Elements<double> const expected = colonReference<double>(n, 0, 1, n - 1.0);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            cudaStream_t stream = nullptr;
            ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
            DeviceArray<double> out(n);
            Colon::Invoker<double>()(stream, n, out.data(), 0, 1, n - 1.0);
            EXPECT_EQ(cudaSuccess, cudaGetLastError());
            EXPECT_EQ(cudaSuccess, cudaStreamSynchronize(stream));
            testing::expectSameBits(expected, out.values());
            EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
        });
    }
    for (std::thread& thread : threads) thread.join();
}

// --- Linspace ---

TEST(Linspace, OfOneElementIsTheLast) { testing::expectSameBits(Doubles{7}, linspace<double>(1, 3, 7)); }

TEST(Linspace, OfTwoElementsIsTheEnds) {
    testing::expectSameBits(Doubles{0.1, 0.7}, linspace<double>(2, 0.1, 0.7));
}

TEST(Linspace, ExampleOfTheHeader) {
    testing::expectSameBits(Doubles{0, 2, 4, 6, 8, 10}, linspace<double>(6, 0, 10));
}

TEST(Linspace, StaysFiniteWhereTheDifferenceOverflows) {
    Elements<double> const values = linspace<double>(5, -1e308, 1e308);
    for (double value : values) EXPECT_TRUE(std::isfinite(value));
    EXPECT_EQ(-1e308, values.front());
    EXPECT_EQ(0.0, values[2]);
    EXPECT_EQ(1e308, values.back());
}

TEST(Linspace, OfFloatRoundsADoubleQuotientOnce) {
    testing::expectSameBits(
        std::vector<float>{0, static_cast<float>(1.0 / 3), static_cast<float>(2.0 / 3), 1},
        linspace<float>(4, 0, 1));
}

TEST(Linspace, OfEqualEndsIsConstant) {
    testing::expectSameBits(Doubles{0.1, 0.1, 0.1, 0.1}, linspace<double>(4, 0.1, 0.1));
}

TEST(Linspace, OverflowsInOnePartOfAComplexValueAlone) {
    float const big = 3e38f;
    Elements<float2> const values = linspace<float2>(4, {-big, 0}, {big, 1});
    float const t = static_cast<float>(double(big) / 3), u = static_cast<float>(-double(big) / 3);
    testing::expectSameBits(Elements<float2>{{(t + -big) - u, static_cast<float>(1.0 / 3)}},
                            Elements<float2>{values[1]});
}

TEST(Linspace, OfNoElementsWritesNothing) {
    DeviceArray<double> out(4);
    Linspace::Invoker<double>()(nullptr, 0, out.data(), 1, 2);
    Logspace::Invoker<double>()(nullptr, 0, out.data(), 1, 2);
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    EXPECT_TRUE(out.untouched());
}

template <class T>
class LinspaceOf : public ::testing::Test {
  protected:
    static Elements<T> reference(unsigned long n, T first, T last) {
        Elements<T> values;
        for (unsigned int i = 0; i < n; ++i) {
            values.push_back(spacedElement(i, static_cast<unsigned int>(n), first, last));
        }
        return values;
    }
};
TYPED_TEST_SUITE(LinspaceOf, FloatingTypes);

TYPED_TEST(LinspaceOf, AgreesWithTheReferenceAtAllSizes) {
    Elements<TypeParam> const ends = testing::randomValues<TypeParam>(2 * testing::boundarySizes().size());
    std::size_t next = 0;
    for (unsigned long n : testing::boundarySizes()) {
        TypeParam const first = ends[next++], last = ends[next++];
        testing::expectSameBits(this->reference(n, first, last), linspace(n, first, last));
    }
}

TYPED_TEST(LinspaceOf, AgreesWithTheReferenceOnSpecialEnds) {
    Elements<TypeParam> const ends = testing::specialValues<TypeParam>();
    // Every pair for real types; for complex ones, whose pairs of pairs are many, a stride through them.
    std::size_t const stride = internal::isComplex<TypeParam> ? 7 : 1;
    for (std::size_t a = 0; a < ends.size(); a += stride) {
        for (std::size_t b = 0; b < ends.size(); b += stride) {
            for (unsigned long n : {1ul, 2ul, 5ul}) {
                testing::expectSameValues(this->reference(n, ends[a], ends[b]),
                                          linspace(n, ends[a], ends[b]));
            }
        }
    }
}

// --- Logspace ---

TEST(Logspace, GivesExactPowersOfTen) {
    testing::expectSameBits(Doubles{1, 10, 100}, logspace<double>(3, 0, 2));
    testing::expectSameBits(std::vector<float>{1, 10, 100}, logspace<float>(3, 0, 2));
}

TEST(Logspace, ExampleOfTheHeader) {
    testing::expectSameBits(Doubles{0.01, 0.1, 1, 10, 100, 1000}, logspace<double>(6, -2, 3));
}

TEST(Logspace, TakesTheLastExponentExactly) {
    testing::expectSameBits(Doubles{1000}, logspace<double>(1, 0, 3));
}

TEST(Logspace, OfExponentsBeyond32BitsIsInfinityOrZero) {
    testing::expectSameBits(Doubles{0, inf}, logspace<double>(2, -1e10, 1e10));
    testing::expectSameBits(Doubles{0}, logspace<double>(1, 0, -inf));
    testing::expectSameBits(Doubles{inf}, logspace<double>(1, 0, inf));
    testing::expectSameValues(Doubles{nan}, logspace<double>(1, 0, nan));
    testing::expectSameBits(std::vector<float>{0, std::numeric_limits<float>::infinity()},
                            logspace<float>(2, -1e10f, 1e10f));
}

TEST(Logspace, OfComplexIntegersIsExactByRepeatedSquaring) {
    Elements<double2> const values = logspace<double2>(6, {-2, 0}, {3, 0});
    testing::expectSameBits(
        Elements<double2>{{1 / 100.0, 0}, {1 / 10.0, 0}, {1, 0}, {10, 0}, {100, 0}, {1000, 0}}, values);
    testing::expectSameBits(Elements<double2>{{1, 0}, {10, 0}, {100, 0}},
                            logspace<double2>(3, {0, 0}, {2, 0}));
    testing::expectSameBits(Elements<float2>{{1, 0}, {10, 0}, {100, 0}}, logspace<float2>(3, {0, 0}, {2, 0}));
}

TEST(Logspace, OfHugeComplexIntegersIsInfinityOrZero) {
    testing::expectSameBits(Elements<double2>{{0, 0}, {inf, 0}}, logspace<double2>(2, {-1e10, 0}, {1e10, 0}));
    testing::expectSameBits(Elements<double2>{{0, 0}, {inf, 0}},
                            logspace<double2>(2, {-400, -0.0}, {400, 0}));
}

TEST(Logspace, OfComplexIntegersFrom2To52OnGoesThroughTheExponential) {
    // Infinity times the sine of 0 is NaN; no repeated square has an imaginary part.
    testing::expectSameValues(Elements<double2>{{inf, nan}}, logspace<double2>(1, {0, 0}, {0x1p52, 0}));
    testing::expectSameValues(Elements<double2>{{inf, nan}}, logspace<double2>(1, {0, 0}, {inf, 0}));
    testing::expectSameValues(Elements<double2>{{0, 0}}, logspace<double2>(1, {0, 0}, {-0x1p52, 0}));
}

TEST(Logspace, OfAComplexExponentWithoutAnImaginaryPartIsReal) {
    Elements<double2> const values = logspace<double2>(1, {0, 0}, {0.5, 0});
    EXPECT_EQ(0x1.94c583ada5b53p+1,
              values[0].x);  // rounded from the product with ln 10, which is rounded itself
    testing::expectSameBits(Doubles{0.0}, Doubles{values[0].y});
}

// References have 11 bits to spare.
using Extended = long double;

// Up to so many units in the last place of the type.
template <class P>
void expectClose(double ulps, Extended expected, P actual, Extended magnitude) {
    P const nearest = static_cast<P>(expected);
    if (std::isnan(nearest) || std::isinf(nearest)) {
        EXPECT_TRUE(testing::sameValue(nearest, actual)) << nearest << " " << actual;
        return;
    }
    P const below = static_cast<P>(magnitude);
    Extended const ulp =
        static_cast<Extended>(std::nextafter(below, std::numeric_limits<P>::infinity())) - below;
    EXPECT_LE(std::abs(expected - actual), ulps * ulp) << nearest << " " << actual;
}

// The power is good to 0.8 of a unit in `double`. Complex values take an exponential and a sine or cosine, as
// good as that, and a product, of which one unit may be two of the other's.
template <class P>
constexpr double powerUlps = 0.8;
template <>
constexpr double powerUlps<float> = 0.501;
template <class P>
constexpr double complexPowerUlps = 3.5;
template <>
constexpr double complexPowerUlps<float> = 2.5;

template <class P>
Extended powerReference(P exponent) {
    if (std::floor(exponent) == exponent && std::abs(exponent) > 2147483647.0) {
        return exponent > 0 ? std::numeric_limits<Extended>::infinity() : Extended(0);
    }
    return std::pow(Extended(10), static_cast<Extended>(exponent));
}

template <class T>
class LogspaceOf : public ::testing::Test {};
TYPED_TEST_SUITE(LogspaceOf, FloatingTypes);

TYPED_TEST(LogspaceOf, AgreesWithExtendedPrecision) {
    using P = internal::Part<TypeParam>;
    Elements<TypeParam> ends;
    for (P re : {P(-3.3), P(0), P(2), P(30), P(1.5)}) {
        if constexpr (internal::isComplex<TypeParam>) {
            for (P im : {P(0), P(1), P(-2.5), P(1000)}) ends.push_back({re, im});
        } else {
            ends.push_back(re);
        }
    }
    for (unsigned long n : {1ul, 2ul, 7ul, 255ul, 256ul, 257ul, 1000ul}) {
        for (TypeParam first : ends) {
            TypeParam const last = ends[(n + 3) % ends.size()];
            Elements<TypeParam> const values = logspace(n, first, last);
            for (unsigned int i = 0; i < n; ++i) {
                TypeParam const z = spacedElement(i, static_cast<unsigned int>(n), first, last);
                if constexpr (internal::isComplex<TypeParam>) {
                    // The product with ln 10 rounds in the precision of the parts.
                    P const ln10 = P(2.302585092994046);
                    P const re = z.x * ln10, im = z.y * ln10;
                    Extended const magnitude = std::exp(static_cast<Extended>(re)), angle = im;
                    bool const integral = z.y == 0 && std::floor(z.x) == z.x;
                    Extended const real = integral ? powerReference(z.x) : magnitude * std::cos(angle);
                    Extended const imaginary = integral ? 0 : magnitude * std::sin(angle);
                    expectClose(complexPowerUlps<P>, real, values[i].x, magnitude);
                    expectClose(complexPowerUlps<P>, imaginary, values[i].y, magnitude);
                } else {
                    expectClose(powerUlps<P>, powerReference(z), values[i], powerReference(z));
                }
            }
        }
    }
}

TYPED_TEST(LogspaceOf, TakesSpecialExponents) {
    using P = internal::Part<TypeParam>;
    for (P exponent : testing::specialReals<P>()) {
        if constexpr (internal::isComplex<TypeParam>) {
            TypeParam const value = logspace<TypeParam>(1, {0, 0}, {exponent, 0})[0];
            bool const integral = std::floor(exponent) == exponent && std::abs(exponent) < P(0x1p52);
            P const product = exponent * P(2.302585092994046);
            Extended const expected =
                integral ? powerReference(exponent) : std::exp(static_cast<Extended>(product));
            expectClose(complexPowerUlps<P>, expected, value.x, expected);
        } else {
            Extended const expected = powerReference(exponent);
            expectClose(powerUlps<P>, expected, logspace<TypeParam>(1, 0, exponent)[0], expected);
        }
    }
}

// --- Arrays larger than caches ---

template <class T>
class LargeRangesOf : public ::testing::Test {};
TYPED_TEST_SUITE(LargeRangesOf, RealNumericTypes);

TYPED_TEST(LargeRangesOf, StoreEveryElement) {
    using T = TypeParam;
    unsigned long const n = testing::largeCount<T>() + 301;
    double const last = static_cast<double>(n - 1);
    DeviceArray<T> up(n), down(n + 1);
    IntColon::Invoker<T>()(nullptr, n, up.data(), 0, 1);
    Colon::Invoker<T>()(nullptr, n, down.data() + 1, last, -1, 0);  // on no cache line's border
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    auto const upwards = up.values(), downwards = down.values();
    unsigned long wrong = 0;
    for (unsigned long i = 0; i < n; ++i) {
        wrong += upwards[i] != static_cast<T>(i);
        wrong += downwards[i + 1] != static_cast<T>(n - 1 - i);
    }
    EXPECT_EQ(0u, wrong);
}

TEST(LargeRanges, OfSpacedValuesStoreEveryElement) {
    unsigned long const n = testing::largeCount<double>() + 301;
    DeviceArray<double> spaced(n);
    Linspace::Invoker<double>()(nullptr, n, spaced.data(), 0, static_cast<double>(n - 1));
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    auto const values = spaced.values();
    unsigned long wrong = 0;
    for (unsigned long i = 0; i < n; ++i) wrong += values[i] != static_cast<double>(i);
    EXPECT_EQ(0u, wrong);
}

}  // namespace
}  // namespace gpuruntime
