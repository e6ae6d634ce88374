#include <gpuruntime/arithmetic.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "elementwise/arithmetic_types.hpp"
#include "tests/elementwise/guarded_product_reference.hpp"
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
using testing::expectSameValues;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

/// Wide enough for every sum and product of integers of 64 bits.
using Exact = __int128;

template <class T>
T held(Exact value) {
    using Limits = std::numeric_limits<T>;
    return static_cast<T>(std::clamp<Exact>(value, Limits::min(), Limits::max()));
}

/// Calls `change(data, n)` on the values and expects what `f` makes of each.
template <class T, class Change, class F>
void expectChanged(std::vector<T> const& values, Change change, F f) {
    Elements<T> expected;
    for (T const& value : values) expected.push_back(f(value));
    DeviceArray<T> data(values);
    change(data.data(), values.size());
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    expectSameValues(expected, data.values());
}

/// The same for special values, at all sizes and with a folded grid.
template <class T, class Change, class F>
void expectChangedThroughout(Change change, F f) {
    expectChanged(testing::specialValues<T>(), change, f);
    for (unsigned long n : testing::boundarySizes()) expectChanged(testing::mixedValues<T>(n), change, f);
    testing::GridLimits const limits(2);
    expectChanged(testing::mixedValues<T>(1300), change, f);
}

template <class T>
Elements<T> scalars() {
    Elements<T> result = testing::specialValues<T>();
    for (T const& value : testing::randomValues<T>(10, 3)) result.push_back(value);
    return result;
}

/// All values of the 1-byte types, and special and random ones of the others.
template <class T>
Elements<T> telltales() {
    Elements<T> values = testing::mixedValues<T>(700);
    if constexpr (sizeof(T) == 1) {
        values.clear();
        for (int i = 0; i < 256; ++i) values.push_back(static_cast<T>(i));
    }
    return values;
}

// --- TimesInplace, ReciprocalTimesInplace ---

template <class T>
class ProductOf : public ::testing::Test {};
TYPED_TEST_SUITE(ProductOf, testing::TestTypes<internal::Multiplied>);

template <class T>
T product(T a, T b) {
    if constexpr (internal::isComplex<T>) {
        return testing::reference::guardedProduct(a, b);
    } else if constexpr (std::is_floating_point_v<T>) {
        return a * b;
    } else {
        return held<T>(Exact(a) * b);
    }
}

template <class T>
void expectMultiplied(Elements<T> const& values, T scalar) {
    expectChanged(
        values, [=](T* data, unsigned long n) { TimesInplace::Invoker<T>()(nullptr, data, scalar, n); },
        [=](T value) { return product(value, scalar); });
}

TYPED_TEST(ProductOf, AgreesWithTheReference) {
    using T = TypeParam;
    auto const all = telltales<T>(), special = testing::specialValues<T>();
    for (T const& scalar : sizeof(T) == 1 ? all : scalars<T>()) {
        expectMultiplied(internal::isComplex<T> ? special : all, scalar);
    }
    T const scalar = testing::randomValues<T>(1, 9)[0];
    expectChangedThroughout<T>(
        [=](T* data, unsigned long n) { TimesInplace::Invoker<T>()(nullptr, data, scalar, n); },
        [=](T value) { return product(value, scalar); });
}

TEST(TimesInplace, GivesTheLiteralValues) {
    DeviceArray<unsigned char> bytes{3, 200};
    TimesInplace::Invoker<unsigned char>()(nullptr, bytes.data(), 2, 2);
    expectSameBits({6, 255}, bytes.values());
    DeviceArray<signed char> narrow{-100, 100};
    TimesInplace::Invoker<signed char>()(nullptr, narrow.data(), 2, 2);
    expectSameBits({-128, 127}, narrow.values());
    DeviceArray<int> wide{65536, -65536, 3};
    TimesInplace::Invoker<int>()(nullptr, wide.data(), 65536, 3);
    expectSameBits({2147483647, -2147483647 - 1, 196608}, wide.values());
    DeviceArray<double2> pairs{{inf, inf}, {1, 2}, {2, 0}};
    TimesInplace::Invoker<double2>()(nullptr, pairs.data(), {1, 0}, 3);
    expectSameBits({{inf, inf}, {1, 2}, {2, 0}}, pairs.values());
}

/// The quotient of two complex values, branch by branch.
template <class T>
T quotient(T numerator, T denominator) {
    using P = internal::Part<T>;
    P const p = numerator.x, q = numerator.y, c = denominator.x, d = denominator.y;
    if (d == 0) {
        if (q == 0) return {p / c, 0};
        return {p == 0 ? 0 : p / c, q / c};
    }
    if (c == 0) {
        if (p == 0) return {q / d, 0};
        return {q == 0 ? 0 : q / d, -p / d};
    }
    if (std::fabs(c) > std::fabs(d)) {
        P const r = d / c, s = std::fma(d, r, c);
        return {std::fma(r, q, p) / s, (q - r * p) / s};
    }
    if (std::fabs(c) == std::fabs(d)) {
        P const sc = c > 0 ? P(0.5) : P(-0.5), sd = d > 0 ? P(0.5) : P(-0.5), m = std::fabs(d);
        return {std::fma(sc, p, sd * q) / m, (sc * q - sd * p) / m};
    }
    P const r = c / d, s = std::fma(c, r, d);
    return {std::fma(r, p, q) / s, (r * q - p) / s};
}

template <class T>
T anyQuotient(T a, T b) {
    if constexpr (internal::isComplex<T>) {
        return quotient(a, b);
    } else if constexpr (std::is_floating_point_v<T>) {
        return a / b;
    } else {
        return b == 0 ? static_cast<T>(~0u) : static_cast<T>(Exact(a) / Exact(b));
    }
}

TYPED_TEST(ProductOf, ReciprocalAgreesWithTheReference) {
    using T = TypeParam;
    auto const all = telltales<T>(), special = testing::specialValues<T>();
    auto const expectDivided = [](Elements<T> const& values, T scalar) {
        expectChanged(
            values,
            [=](T* data, unsigned long n) { ReciprocalTimesInplace::Invoker<T>()(nullptr, data, scalar, n); },
            [=](T value) { return anyQuotient(scalar, value); });
    };
    for (T const& scalar : sizeof(T) == 1 ? all : scalars<T>()) {
        expectDivided(internal::isComplex<T> ? special : all, scalar);
        expectDivided(special, scalar);
    }
    T const scalar = testing::randomValues<T>(1, 9)[0];
    expectChangedThroughout<T>(
        [=](T* data, unsigned long n) { ReciprocalTimesInplace::Invoker<T>()(nullptr, data, scalar, n); },
        [=](T value) { return anyQuotient(scalar, value); });
}

// Quotients that are whole, and those one part of the divisor away from it.
TEST(ReciprocalTimesInplace, OfLargeIntegersIsExact) {
    auto const expectExact = [](auto zero) {
        using T = decltype(zero);
        for (T const scalar : {std::numeric_limits<T>::max(), std::numeric_limits<T>::min()}) {
            Elements<T> values;
            for (T const d : testing::randomValues<T>(300)) {
                T const quotient = d == 0 ? T(0) : static_cast<T>(scalar / (d == T(-1) ? T(2) : d));
                for (T const near : {quotient, T(quotient - 1), T(quotient + 1), d}) values.push_back(near);
            }
            expectChanged(
                values,
                [=](T* data, unsigned long n) {
                    ReciprocalTimesInplace::Invoker<T>()(nullptr, data, scalar, n);
                },
                [=](T value) { return anyQuotient(scalar, value); });
        }
    };
    expectExact(int{});
    expectExact(unsigned{});
}

TEST(ReciprocalTimesInplace, GivesTheLiteralValues) {
    DeviceArray<int> data{2, -2, 0, -1};
    ReciprocalTimesInplace::Invoker<int>()(nullptr, data.data(), 7, 3);
    expectSameBits({3, -3, -1, -1}, data.values());
    data.set({2, -2, -1, 0});
    ReciprocalTimesInplace::Invoker<int>()(nullptr, data.data(), std::numeric_limits<int>::min(), 3);
    expectSameBits({-1073741824, 1073741824, std::numeric_limits<int>::min(), 0}, data.values());
    data.set({2, 3, 0, 0});
    ReciprocalTimesInplace::Invoker<int>()(nullptr, data.data(), -7, 3);
    expectSameBits({-3, -2, -1, 0}, data.values());
}

// --- ScaleInplace ---

template <class T>
class QuotientOf : public ::testing::Test {};
TYPED_TEST_SUITE(QuotientOf, testing::TestTypes<internal::Floating>);

TYPED_TEST(QuotientOf, AgreesWithTheReference) {
    using T = TypeParam;
    auto const special = testing::specialValues<T>();
    for (T const& divisor : scalars<T>()) {
        expectChanged(
            special, [=](T* data, unsigned long n) { ScaleInplace::Invoker<T>()(nullptr, data, divisor, n); },
            [=](T value) { return anyQuotient(value, divisor); });
    }
    T const divisor = testing::randomValues<T>(1, 9)[0];
    expectChangedThroughout<T>(
        [=](T* data, unsigned long n) { ScaleInplace::Invoker<T>()(nullptr, data, divisor, n); },
        [=](T value) { return anyQuotient(value, divisor); });
}

TEST(ScaleInplace, GivesTheLiteralValues) {
    DeviceArray<double2> data{{1, 2}, {0, 2}, {1, 0}, {0, 0}};
    ScaleInplace::Invoker<double2>()(nullptr, data.data(), {0, 1}, 4);
    expectSameBits({{2, -1}, {2, 0}, {0, -1}, {0, 0}}, data.values());
    data.set({{1, 2}, {0, 2}, {1, 0}, {-0.0, -0.0}});
    ScaleInplace::Invoker<double2>()(nullptr, data.data(), {-2, 0}, 4);
    expectSameBits({{-0.5, -1}, {0, -1}, {-0.5, 0}, {0, 0}}, data.values());
    data.set({{1, 2}, {3, -1}, {0, 0}, {inf, 1}});
    ScaleInplace::Invoker<double2>()(nullptr, data.data(), {1, 1}, 4);
    expectSameBits({{1.5, 0.5}, {1, -2}, {0, 0}, {inf, -inf}}, data.values());
}

/// The distance of a quotient from the exact one, in units of the last place of its magnitude.
template <class T>
double quotientError(T numerator, T denominator, T actual) {
    using Wide = __float128;
    using P = internal::Part<T>;
    Wide const p = numerator.x, q = numerator.y, c = denominator.x, d = denominator.y, s = c * c + d * d;
    Wide const re = (p * c + q * d) / s, im = (q * c - p * d) / s;
    auto const missRe = static_cast<double>(actual.x - re), missIm = static_cast<double>(actual.y - im);
    double const magnitude = std::hypot(static_cast<double>(re), static_cast<double>(im));
    return std::hypot(missRe, missIm) / magnitude / std::numeric_limits<P>::epsilon();
}

// Largest seen: 1.9 and 1.9.
template <class T>
void expectAccurateQuotients() {
    auto const numerators = testing::randomValues<T>(20000, 1),
               denominators = testing::randomValues<T>(20, 2);
    double largest = 0;
    for (T const& denominator : denominators) {
        DeviceArray<T> data(numerators);
        ScaleInplace::Invoker<T>()(nullptr, data.data(), denominator, data.size());
        auto const actual = data.values();
        for (std::size_t i = 0; i < actual.size(); ++i) {
            largest = std::max(largest, quotientError(numerators[i], denominator, actual[i]));
        }
    }
    EXPECT_LT(largest, 2.5);
    EXPECT_GT(largest, 0.5);
}

TEST(ScaleInplace, OfComplexValuesIsAccurate) {
    expectAccurateQuotients<double2>();
    expectAccurateQuotients<float2>();
}

// --- NormalizeInplace, ScaleByDoubleInplace, MulAddByDoubleInplace, NanToZeroInplace ---

/// What two functions of a part in double precision make of an element, each rounded once.
template <class T, class Re, class Im>
T ofParts(T value, Re re, Im im) {
    using P = internal::Part<T>;
    if constexpr (internal::isComplex<T>) {
        return {static_cast<P>(re(value.x)), static_cast<P>(im(value.y))};
    } else {
        return static_cast<P>(re(value));
    }
}

TYPED_TEST(QuotientOf, NormalizedValuesAgreeWithTheReference) {
    using T = TypeParam;
    for (double const offset : {0.0, 1.0, -0.1, 1e300, inf, nan}) {
        for (double const divisor : {1.0, -3.0, 0.0, 1e-300, 5e-324, inf, nan}) {
            expectChangedThroughout<T>(
                [=](T* data, unsigned long n) {
                    NormalizeInplace::Invoker<T>()(nullptr, data, offset, divisor, n);
                },
                [=](T value) {
                    return ofParts(
                        value, [=](double x) { return (x - offset) / divisor; },
                        [=](double x) { return x / divisor; });
                });
        }
    }
}

TYPED_TEST(QuotientOf, ScaledByDoubleAgreeWithTheReference) {
    using T = TypeParam;
    for (double const divisor : {3.0, -0.0, 1e-310, inf, nan}) {
        auto const divided = [=](double x) { return x / divisor; };
        expectChangedThroughout<T>(
            [=](T* data, unsigned long n) { ScaleByDoubleInplace::Invoker<T>()(nullptr, data, divisor, n); },
            [=](T value) { return ofParts(value, divided, divided); });
    }
}

TYPED_TEST(QuotientOf, MultipliedAndAddedAgreeWithTheReference) {
    using T = TypeParam;
    for (double const factor : {1.0, -0.1, 1e300, 0.0, inf, nan}) {
        for (double const addend : {0.0, 100.0, -1e299, inf, nan}) {
            expectChangedThroughout<T>(
                [=](T* data, unsigned long n) {
                    MulAddByDoubleInplace::Invoker<T>()(nullptr, data, factor, addend, n);
                },
                [=](T value) {
                    return ofParts(
                        value, [=](double x) { return std::fma(x, factor, addend); },
                        [=](double x) { return x * factor; });
                });
        }
    }
}

TEST(NormalizeInplace, TakesTheOffsetFromTheRealPartOnly) {
    DeviceArray<float2> data{{5, 4}, {1, -2}};
    NormalizeInplace::Invoker<float2>()(nullptr, data.data(), 1, 2, 2);
    expectSameBits({{2, 2}, {0, -1}}, data.values());
}

TEST(MulAddByDoubleInplace, AddsToTheRealPartOnlyAndRoundsOnce) {
    DeviceArray<double2> data{{1, 2}, {-1, 5}};
    MulAddByDoubleInplace::Invoker<double2>()(nullptr, data.data(), 3, 10, 2);
    expectSameBits({{13, 6}, {7, 15}}, data.values());
    // The product of two numbers next to 1 is not 1 + 2^-51 exactly.
    DeviceArray<double> next{1 + 0x1p-52};
    MulAddByDoubleInplace::Invoker<double>()(nullptr, next.data(), 1 + 0x1p-52, -1 - 0x1p-51, 1);
    expectSameBits({0x1p-104}, next.values());
}

TEST(NanToZeroInplace, OverwritesWhatIsNaNInAnyPart) {
    expectChangedThroughout<double>(
        [](double* data, unsigned long n) { NanToZeroInplace::Invoker<double>()(nullptr, data, n); },
        [](double value) { return std::isnan(value) ? 0 : value; });
    expectChangedThroughout<double2>(
        [](double2* data, unsigned long n) { NanToZeroInplace::Invoker<double2>()(nullptr, data, n); },
        [](double2 value) {
            return std::isnan(value.x) || std::isnan(value.y) ? double2{0, 0} : value;
        });
    DeviceArray<double2> data{{nan, 5}, {-0.0, 5}, {5, -nan}};
    NanToZeroInplace::Invoker<double2>()(nullptr, data.data(), 3);
    expectSameBits({{0, 0}, {-0.0, 5}, {0, 0}}, data.values());
}

// --- Abs, AbsPower ---

template <class T>
void expectMagnitudes(Elements<T> const& values) {
    Elements<Magnitude<T>> expected;
    for (T const& value : values) {
        if constexpr (internal::isComplex<T>) {
            expected.push_back(static_cast<Magnitude<T>>(
                std::hypot(static_cast<long double>(value.x), static_cast<long double>(value.y))));
        } else {
            expected.push_back(std::fabs(value));
        }
    }
    DeviceArray<T> in(values);
    DeviceArray<Magnitude<T>> out(values.size());
    Abs::Invoker<T>()(nullptr, out.data(), in.data(), values.size());
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    // Where the exact magnitude is next to the middle of two numbers, or below the normal ones.
    testing::expectEach(expected, out.values(), [](Magnitude<T> a, Magnitude<T> b) {
        return testing::sameValue(a, b) || std::nextafter(a, b) == b;
    });
    expectSameBits(values, in.values());
}

TYPED_TEST(QuotientOf, MagnitudesAgreeWithTheReference) {
    using T = TypeParam;
    expectMagnitudes<T>(testing::specialValues<T>());
    for (unsigned long n : testing::boundarySizes()) expectMagnitudes<T>(testing::mixedValues<T>(n));
    expectMagnitudes<T>(testing::mixedValues<T>(testing::largeCount<Magnitude<T>>() + 300));
    testing::GridLimits const limits(2);
    expectMagnitudes<T>(testing::mixedValues<T>(1300));
}

TEST(Abs, GivesTheLiteralValues) {
    DeviceArray<double2> in{{3, -4},  {inf, nan},         {nan, -inf},         {0, -5},
                            {nan, 1}, {0x3p600, 0x4p600}, {0x3p-600, 0x4p-600}};
    DeviceArray<double> out(7);
    Abs::Invoker<double2>()(nullptr, out.data(), in.data(), 7);
    expectSameValues({5, inf, inf, 5, nan, 0x5p600, 0x5p-600}, out.values());
    DeviceArray<double> real{-0.0, -3, -inf}, magnitudes(3);
    Abs::Invoker<double>()(nullptr, magnitudes.data(), real.data(), 3);
    expectSameBits({0, 3, inf}, magnitudes.values());
}

/// `float` data takes the exponent in single precision.
template <class T>
void expectPowers(Elements<T> const& values, double exponent) {
    using P = Magnitude<T>;
    SCOPED_TRACE(exponent);
    DeviceArray<T> in(values);
    DeviceArray<P> magnitudes(values.size()), out(values.size());
    Abs::Invoker<T>()(nullptr, magnitudes.data(), in.data(), values.size());
    AbsPower::Invoker<T>()(nullptr, out.data(), in.data(), exponent, values.size());
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    Elements<P> expected;
    for (P const x : magnitudes.values()) {
        expected.push_back(static_cast<P>(
            std::pow(static_cast<long double>(x), static_cast<long double>(static_cast<P>(exponent)))));
    }
    // The power is accurate to 1 unit in the last place.
    testing::expectEach(expected, out.values(),
                        [](P a, P b) { return testing::sameValue(a, b) || std::nextafter(a, b) == b; });
    expectSameBits(values, in.values());
}

TYPED_TEST(QuotientOf, PowersOfMagnitudesAgreeWithTheReference) {
    using T = TypeParam;
    auto const special = testing::specialValues<T>();
    for (double const exponent :
         {0.0, -0.0, 1.0, 2.0, -1.0, 0.5, -0.3333333333, 1e-300, 3e9, -3e9, 1e300, inf, -inf, nan, 17.0}) {
        expectPowers<T>(special, exponent);
    }
    for (unsigned long n : testing::boundarySizes()) expectPowers<T>(testing::mixedValues<T>(n), 1.7);
    testing::GridLimits const limits(2);
    expectPowers<T>(testing::mixedValues<T>(1300), -2.2);
}

TEST(AbsPower, GivesTheLiteralValues) {
    DeviceArray<double2> in{{3, -4}, {0, 0}, {nan, nan}, {1, 0}};
    DeviceArray<double> out(4);
    AbsPower::Invoker<double2>()(nullptr, out.data(), in.data(), 2, 4);
    expectSameValues({25, 0, nan, 1}, out.values());
    AbsPower::Invoker<double2>()(nullptr, out.data(), in.data(), 0, 4);
    expectSameBits({1, 1, 1, 1}, out.values());
    AbsPower::Invoker<double2>()(nullptr, out.data(), in.data(), nan, 4);
    expectSameValues({nan, nan, nan, 1}, out.values());
}

// --- Diff ---

template <class T>
class DiffOf : public ::testing::Test {};
TYPED_TEST_SUITE(DiffOf, testing::TestTypes<internal::Subtracted>);

template <class T>
T difference(T a, T b) {
    if constexpr (internal::isComplex<T>) {
        return {a.x - b.x, a.y - b.y};
    } else if constexpr (std::is_floating_point_v<T>) {
        return a - b;
    } else {
        return held<T>(Exact(a) - Exact(b));
    }
}

template <class T>
void expectDifferences(Elements<T> const& values, unsigned long stride, unsigned long outLength) {
    SCOPED_TRACE(::testing::Message() << "stride " << stride << ", " << outLength << " of " << values.size());
    Elements<T> expected;
    for (unsigned long group = 0; group < values.size(); group += stride * (outLength + 1)) {
        for (unsigned long k = 0; k < stride * outLength; ++k) {
            expected.push_back(difference(values[group + k + stride], values[group + k]));
        }
    }
    DeviceArray<T> in(values), out(expected.size());
    Diff::Invoker<T>()(nullptr, out.data(), in.data(), stride, outLength, expected.size());
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    expectSameValues(expected, out.values());
    expectSameBits(values, in.values());
}

TYPED_TEST(DiffOf, AgreesWithTheReferenceAlongEachDimension) {
    using T = TypeParam;
    for (unsigned long stride : {1, 2, 3, 7, 16, 255, 256, 257, 1000}) {
        for (unsigned long outLength : {1, 2, 3, 15, 16, 17, 300}) {
            for (unsigned long numGroups : {1, 3}) {
                expectDifferences<T>(testing::mixedValues<T>(stride * (outLength + 1) * numGroups), stride,
                                     outLength);
            }
        }
    }
    expectDifferences<T>(testing::mixedValues<T>(testing::largeCount<T>() + 300), 1,
                         testing::largeCount<T>() + 299);
    testing::GridLimits const limits(2);
    expectDifferences<T>(testing::mixedValues<T>(5 * 400), 5, 99);
}

TYPED_TEST(DiffOf, OfAllPairsOfTelltalesAgreesWithTheReference) {
    using T = TypeParam;
    auto values = telltales<T>();
    if (sizeof(T) > 1) values = testing::specialValues<T>();
    if (values.size() > 300) values.resize(300);
    Elements<T> pairs;
    for (T const& a : values) {
        for (T const& b : values) pairs.insert(pairs.end(), {a, b});
    }
    expectDifferences<T>(pairs, 1, 1);
}

TEST(Diff, GivesTheLiteralValues) {
    DeviceArray<unsigned char> bytes{3, 5, 5, 3}, differences(2);
    Diff::Invoker<unsigned char>()(nullptr, differences.data(), bytes.data(), 1, 1, 2);
    expectSameBits({2, 0}, differences.values());
    // Element 4 reads elements 6 and 8.
    DeviceArray<double> in{0, 1, 2, 4, 8, 16, 32, 64, 128, 256, 512, 1024}, out(8);
    Diff::Invoker<double>()(nullptr, out.data(), in.data(), 2, 2, 8);
    expectSameBits({2, 3, 6, 12, 96, 192, 384, 768}, out.values());
}

// --- NormCorrectInfNaN ---

template <class T>
T withPart(double value) {
    if constexpr (internal::isComplex<T>) {
        return {1, static_cast<internal::Part<T>>(value)};
    } else {
        return static_cast<T>(value);
    }
}

TYPED_TEST(QuotientOf, NormBecomesNaNWhereAnInfinityHidesIt) {
    using T = TypeParam;
    unsigned long const bits = 0xfff8000000000000;
    double negativeNaN;
    std::memcpy(&negativeNaN, &bits, sizeof bits);
    for (unsigned long n : {1ul, 255ul, 256ul, 257ul, 1000ul}) {
        for (double const norm : {inf, -inf, 5.0, nan, 0.0}) {
            for (long const place : {-1l, 0l, static_cast<long>(n) - 1}) {
                Elements<T> values(n, withPart<T>(inf));
                if (place >= 0) values[static_cast<unsigned long>(place)] = withPart<T>(nan);
                DeviceArray<T> in(values);
                DeviceArray<double> result{norm};
                EXPECT_EQ(cudaSuccess, NormCorrectInfNaN::Invoker<T>()(nullptr, result.data(), in.data(), n));
                expectSameBits({place >= 0 && std::isinf(norm) ? negativeNaN : norm}, result.values());
                expectSameBits(values, in.values());
            }
        }
    }
    DeviceArray<T> in(1);
    DeviceArray<double> result{inf};
    EXPECT_EQ(cudaSuccess, NormCorrectInfNaN::Invoker<T>()(nullptr, result.data(), in.data(), 0));
    expectSameBits({inf}, result.values());
}

// --- Matrix powers ---

/// The product of a factor and an element.
template <class T>
T scaled(T factor, T value) {
    if constexpr (internal::isComplex<T>) {
        return testing::reference::guardedProduct(factor, value);
    } else {
        return factor * value;
    }
}

/// Of values and scalars whose powers are told exactly.
template <class Family, class T>
void expectScaledColumns(Elements<T> const& values, T scalar, Elements<T> const& factors) {
    unsigned long const n = values.size();
    auto const vectors = testing::mixedValues<T>(n * n);
    Elements<T> expected;
    for (unsigned long i = 0; i < n * n; ++i) expected.push_back(scaled(factors[i / n], vectors[i]));
    DeviceArray<T> in(vectors), diagonal(values), out(n * n);
    typename Family::template Invoker<T>()(nullptr, out.data(), in.data(), diagonal.data(), scalar, n);
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    expectSameValues(expected, out.values());
    expectSameBits(vectors, in.values());
    expectSameBits(values, diagonal.values());
}

template <class T>
T real(double value) {
    if constexpr (internal::isComplex<T>) {
        return {static_cast<internal::Part<T>>(value), 0};
    } else {
        return static_cast<T>(value);
    }
}

TYPED_TEST(QuotientOf, ColumnsAreScaledByPowers) {
    using T = TypeParam;
    for (unsigned long n : {1ul, 2ul, 15ul, 255ul, 256ul, 257ul, 520ul}) {
        Elements<T> values, squares, exponents, powers;
        for (unsigned long j = 0; j < n; ++j) {
            double const x = static_cast<double>(j % 100) - 50;
            values.push_back(real<T>(x));
            squares.push_back(real<T>(x * x));
            exponents.push_back(real<T>(x / 2));
            powers.push_back(real<T>(std::exp2(x)));
        }
        expectScaledColumns<MPowerMatrixScalar, T>(values, real<T>(2), squares);
        if (!internal::isComplex<T>)
            expectScaledColumns<MPowerScalarMatrix, T>(exponents, real<T>(4), powers);
    }
    {
        testing::GridLimits const limits(3);
        Elements<T> const values(10, real<T>(3)), cubes(10, real<T>(27));
        expectScaledColumns<MPowerMatrixScalar, T>(values, real<T>(3), cubes);
    }
    DeviceArray<T> out(1);
    MPowerMatrixScalar::Invoker<T>()(nullptr, out.data(), out.data(), out.data(), real<T>(2), 0);
    MPowerScalarMatrix::Invoker<T>()(nullptr, out.data(), out.data(), out.data(), real<T>(2), 0);
    EXPECT_TRUE(out.untouched());
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
}

template <class T>
T powerOf(T base, T exponent) {
    T const unit = real<T>(1);
    DeviceArray<T> vectors{unit}, values{base}, out(1);
    MPowerMatrixScalar::Invoker<T>()(nullptr, out.data(), vectors.data(), values.data(), exponent, 1);
    T const result = out.values()[0];
    values.set({exponent});
    MPowerScalarMatrix::Invoker<T>()(nullptr, out.data(), vectors.data(), values.data(), base, 1);
    EXPECT_TRUE(testing::sameValue(result, out.values()[0]));
    return result;
}

TEST(MatrixPowers, OfRealValuesGiveTheLiteralValues) {
    EXPECT_TRUE(std::isnan(powerOf(-8.0, 1.0 / 3)));
    EXPECT_EQ(-8, powerOf(-2.0, 3.0));
    EXPECT_EQ(4, powerOf(-2.0, 2.0));
    EXPECT_EQ(0.25, powerOf(-2.0, -2.0));
    EXPECT_EQ(1, powerOf(nan, 0.0));
    EXPECT_EQ(1, powerOf(1.0, nan));
    EXPECT_EQ(inf, powerOf(0.0, -1.0));
    EXPECT_EQ(inf, powerOf(-3.0, inf));
    // Held within 32 bits: the largest integer is odd, the lowest even.
    EXPECT_EQ(-1, powerOf(-1.0, 3e9));
    EXPECT_EQ(1, powerOf(-1.0, -3e9));
    EXPECT_EQ(1, powerOf(-1.0, 2e9));
}

TEST(MatrixPowers, OfComplexValuesGiveTheLiteralValues) {
    auto const expectPower = [](double2 expected, double2 base, double2 exponent) {
        double2 const actual = powerOf(base, exponent);
        EXPECT_TRUE(testing::sameValue(expected, actual)) << actual.x << ", " << actual.y;
    };
    expectPower({-1, 0}, {0, 1}, {2, 0});
    expectPower({0, -1}, {0, 1}, {-1, 0});
    expectPower({-4, 0}, {1, 1}, {4, 0});
    expectPower({1, 0}, {5, -7}, {0, 0});
    expectPower({0, 0}, {0, 0}, {0.5, 0});
    expectPower({-2, 2}, {1, 1}, {3, 0});
}

TEST(MatrixPowers, OfComplexValuesAreAccurate) {
    using Wide = long double;
    auto const bases = testing::randomValues<double2>(300, 4),
               exponents = testing::randomValues<double2>(300, 5);
    double largest = 0;
    for (unsigned long i = 0; i < bases.size(); ++i) {
        double2 const base = bases[i], exponent{exponents[i].x / 300, exponents[i].y / 300};
        Wide const length = std::log(std::hypot(Wide(base.x), Wide(base.y))),
                   angle = std::atan2(Wide(base.y), Wide(base.x));
        Wide const re = exponent.x * length - exponent.y * angle,
                   im = exponent.x * angle + exponent.y * length;
        double2 const actual = powerOf(base, exponent);
        Wide const magnitude = std::exp(re);
        double const miss = static_cast<double>(
            std::hypot(actual.x - magnitude * std::cos(im), actual.y - magnitude * std::sin(im)) / magnitude);
        largest = std::max(largest, miss / std::numeric_limits<double>::epsilon());
    }
    // The product of exponent and logarithm, up to some 30 here, is rounded before it is raised to.
    EXPECT_LT(largest, 32);
}

}  // namespace
}  // namespace gpuruntime
